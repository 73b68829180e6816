// Documents out of a stream of text: one JSON object that may take many lines, or one object a line, or any mix.
//
// The text is read as it comes; besides one document only what the stream had at hand is held. A document ends with its
// closing brace, after which its line must end too. Where the text is not such a document the reader says so, and goes
// on with the next line that begins with an opening brace in its first column. The content of a document is judged only
// as far as needed to find its end. Belongs to one thread; does not own the stream.
#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <string_view>

namespace catalog::cli {

class Document_Reader
{
public:
    /// A document of more than `longest` bytes is a fault.
    Document_Reader(std::istream& in, std::size_t longest);

    struct Item
    {
        std::size_t number = 0; ///< of the document in the stream, from 1; faults count too
        std::size_t line = 0;   ///< where the document begins, or where the fault is; from 1
        std::string text;       ///< the document
        std::string fault;      ///< why there is no document; empty when there is one
    };

    /// The next document or fault. False at the end, and when the stream cannot be read (see `error_number`).
    bool next(Item& item);

    /// True when `next` would have to wait for whoever writes the stream.
    bool must_wait() const;

    /// Why the stream could not be read; 0 when it was read to its end.
    int error_number() const { return error_number_; }

    /// How many bytes are held, beside the document that was handed out.
    std::size_t held_bytes() const { return buffer_.capacity(); }

private:
    bool fill();
    bool skip_white_space();
    // Places in the document are counted from `start_`, for reading on may move the buffer.
    bool find_end(std::size_t& length, Item& item);
    std::string too_long() const;
    bool line_ends(std::size_t& place);
    bool fail(Item& item, std::size_t place, std::string why, std::size_t resume);
    void skip_to_next_document();
    void forget(std::size_t count);

    std::istream& in_;
    const std::size_t longest_;
    std::string buffer_;    ///< what is not yet handed out
    std::size_t start_ = 0; ///< in `buffer_`: what lies before is done with
    std::size_t line_ = 1;  ///< the line that `start_` is in
    std::size_t number_ = 0;
    int error_number_ = 0;
};

} // namespace catalog::cli
