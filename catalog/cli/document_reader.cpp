#include "catalog/cli/document_reader.h"

#include <yajl/yajl_parse.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>

namespace catalog::cli {

namespace {

constexpr std::size_t chunk = std::size_t{64} << 10;
constexpr std::size_t deepest = 512;

/// Follows the nesting of one value and stops the parser behind it.
struct Nesting
{
    std::size_t depth = 0;
    bool too_deep = false;

    int open()
    {
        too_deep = ++depth > deepest;
        return !too_deep;
    }
    int close() { return --depth != 0; }
};

yajl_callbacks nesting_callbacks()
{
    yajl_callbacks callbacks{};
    callbacks.yajl_start_map = [](void* nesting) { return static_cast<Nesting*>(nesting)->open(); };
    callbacks.yajl_start_array = [](void* nesting) { return static_cast<Nesting*>(nesting)->open(); };
    callbacks.yajl_end_map = [](void* nesting) { return static_cast<Nesting*>(nesting)->close(); };
    callbacks.yajl_end_array = [](void* nesting) { return static_cast<Nesting*>(nesting)->close(); };
    return callbacks;
}

const unsigned char* bytes(const char* text)
{
    return reinterpret_cast<const unsigned char*>(text);
}

std::string reason(yajl_handle parser)
{
    unsigned char* message = yajl_get_error(parser, 0, nullptr, 0);
    std::string text(reinterpret_cast<const char*>(message));
    yajl_free_error(parser, message);
    text.erase(text.find_last_not_of('\n') + 1);
    return text;
}

constexpr std::string_view white_space = " \t\r\n";

bool is_white_space(char c)
{
    return white_space.find(c) != std::string_view::npos;
}

} // namespace

Document_Reader::Document_Reader(std::istream& in, std::size_t longest) : in_(in), longest_(longest) {}

bool Document_Reader::next(Item& item)
{
    if (!skip_white_space()) {
        return false;
    }
    item = Item{++number_, line_, {}, {}};
    if (buffer_[start_] != '{') {
        fail(item, 0, "a document begins with '{'", 0);
        return error_number_ == 0;
    }
    std::size_t length = 0;
    if (!find_end(length, item)) {
        return error_number_ == 0;
    }
    if (length > longest_) {
        fail(item, 0, too_long(), length);
        return error_number_ == 0;
    }
    std::size_t behind = length;
    if (!line_ends(behind)) {
        fail(item, behind, "something stands behind the document on its last line", length);
        return error_number_ == 0;
    }
    if (error_number_ != 0) {
        return false;
    }
    item.text.assign(buffer_, start_, length);
    forget(behind);
    return true;
}

bool Document_Reader::must_wait() const
{
    const std::size_t begin = buffer_.find_first_not_of(white_space, start_);
    const bool whole_line = begin != std::string::npos && buffer_.find('\n', begin) != std::string::npos;
    return !whole_line && in_.rdbuf()->in_avail() <= 0;
}

/// Adds what the stream has at hand, waiting for the first byte only.
bool Document_Reader::fill()
{
    if (start_ > buffer_.size() / 2) {
        buffer_.erase(0, start_);
        start_ = 0;
    }
    errno = 0;
    if (in_.peek() == std::istream::traits_type::eof()) {
        if (in_.bad()) {
            error_number_ = errno != 0 ? errno : EIO;
        }
        return false;
    }
    std::array<char, chunk> piece;
    const std::streamsize count = in_.readsome(piece.data(), chunk);
    buffer_.append(piece.data(), static_cast<std::size_t>(count));
    return count > 0;
}

/// False at the end of the stream.
bool Document_Reader::skip_white_space()
{
    while (true) {
        while (start_ < buffer_.size() && is_white_space(buffer_[start_])) {
            forget(1);
        }
        if (start_ < buffer_.size()) {
            return true;
        }
        if (!fill()) {
            return false;
        }
    }
}

/// Finds the length of the document that begins at `start_`; without one, fills the item's fault.
bool Document_Reader::find_end(std::size_t& length, Item& item)
{
    static const yajl_callbacks callbacks = nesting_callbacks();
    Nesting nesting;
    const std::unique_ptr<yajl_handle_t, decltype(&yajl_free)> parser(yajl_alloc(&callbacks, nullptr, &nesting),
                                                                      yajl_free);
    length = 0; // of what the parser has seen
    while (true) {
        const std::size_t from = start_ + length;
        const std::size_t count = std::min(buffer_.size() - from, chunk);
        const yajl_status status = yajl_parse(parser.get(), bytes(buffer_.data() + from), count);
        if (status != yajl_status_ok) {
            length += yajl_get_bytes_consumed(parser.get());
            if (status == yajl_status_client_canceled && !nesting.too_deep) {
                return true;
            }
            const std::string why = nesting.too_deep ? "nested too deeply" : reason(parser.get());
            return fail(item, length, "malformed JSON: " + why, 0);
        }
        length += count;
        if (length > longest_) {
            return fail(item, 0, too_long(), 0);
        }
        if (start_ + length == buffer_.size() && !fill()) {
            return fail(item, length, "malformed JSON: the input ends inside the document", 0);
        }
    }
}

std::string Document_Reader::too_long() const
{
    return "longer than " + std::to_string(longest_) + " bytes";
}

/// Whether nothing but white space stands from `place` to the end of its line; `place` moves to what does, or to the end
/// of the line.
bool Document_Reader::line_ends(std::size_t& place)
{
    while (true) {
        for (; start_ + place < buffer_.size(); ++place) {
            const char c = buffer_[start_ + place];
            if (c == '\n' || !is_white_space(c)) {
                return c == '\n';
            }
        }
        if (!fill()) {
            return true;
        }
    }
}

/// Fills a fault at `place` and skips to the document behind `resume`. Always false.
bool Document_Reader::fail(Item& item, std::size_t place, std::string why, std::size_t resume)
{
    const auto begin = buffer_.begin() + static_cast<std::ptrdiff_t>(start_);
    const auto end = begin + static_cast<std::ptrdiff_t>(std::min(place, buffer_.size() - start_));
    item.line = line_ + static_cast<std::size_t>(std::count(begin, end, '\n'));
    item.fault = std::move(why);
    forget(resume);
    skip_to_next_document();
    return false;
}

/// Skips to the next line that begins with an opening brace.
void Document_Reader::skip_to_next_document()
{
    while (true) {
        const std::size_t line_end = buffer_.find('\n', start_);
        if (line_end == std::string::npos) {
            forget(buffer_.size() - start_);
            if (!fill()) {
                return;
            }
            continue;
        }
        forget(line_end - start_);
        if (start_ + 1 == buffer_.size() && !fill()) {
            return;
        }
        forget(1);
        if (buffer_[start_] == '{') {
            return;
        }
    }
}

void Document_Reader::forget(std::size_t count)
{
    const auto begin = buffer_.begin() + static_cast<std::ptrdiff_t>(start_);
    line_ += static_cast<std::size_t>(std::count(begin, begin + static_cast<std::ptrdiff_t>(count), '\n'));
    start_ += count;
}

} // namespace catalog::cli
