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
        fail(item, start_, "a document begins with '{'", start_);
        return error_number_ == 0;
    }
    std::size_t end = start_;
    if (!find_end(end, item)) {
        return error_number_ == 0;
    }
    std::size_t behind = end;
    if (!line_ends(behind)) {
        fail(item, behind, "something stands behind the document on its last line", end);
        return error_number_ == 0;
    }
    if (error_number_ != 0) {
        return false;
    }
    item.text.assign(buffer_, start_, end - start_);
    forget(behind - start_);
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

/// Finds the end of the document that begins at `start_`; without one, fills the item's fault.
bool Document_Reader::find_end(std::size_t& end, Item& item)
{
    static const yajl_callbacks callbacks = nesting_callbacks();
    Nesting nesting;
    const std::unique_ptr<yajl_handle_t, decltype(&yajl_free)> parser(yajl_alloc(&callbacks, nullptr, &nesting),
                                                                      yajl_free);
    std::size_t length = 0; // of what the parser has seen
    while (true) {
        const std::size_t from = start_ + length;
        const std::size_t count = std::min(buffer_.size() - from, chunk);
        const yajl_status status = yajl_parse(parser.get(), bytes(buffer_.data() + from), count);
        if (status != yajl_status_ok) {
            end = from + yajl_get_bytes_consumed(parser.get());
            if (status == yajl_status_client_canceled && !nesting.too_deep) {
                return true;
            }
            const std::string why = nesting.too_deep ? "nested too deeply" : reason(parser.get());
            return fail(item, std::min(end, buffer_.size()), "malformed JSON: " + why, start_);
        }
        length += count;
        if (length > longest_) {
            return fail(item, start_, "longer than " + std::to_string(longest_) + " bytes", start_);
        }
        if (start_ + length == buffer_.size() && !fill()) {
            return fail(item, buffer_.size(), "malformed JSON: the input ends inside the document", start_);
        }
    }
}

/// Whether nothing but white space stands between `at` and the end of its line; `at` moves to what does.
bool Document_Reader::line_ends(std::size_t& at)
{
    while (true) {
        for (; at < buffer_.size(); ++at) {
            if (buffer_[at] == '\n' || !is_white_space(buffer_[at])) {
                return buffer_[at] == '\n';
            }
        }
        const std::size_t offset = at - start_;
        if (!fill()) {
            return true;
        }
        at = start_ + offset;
    }
}

/// Fills a fault at `where` in the buffer and skips to the document after `resume`. Always false.
bool Document_Reader::fail(Item& item, std::size_t where, std::string why, std::size_t resume)
{
    const auto begin = buffer_.begin() + static_cast<std::ptrdiff_t>(start_);
    const auto place = buffer_.begin() + static_cast<std::ptrdiff_t>(where);
    item.line = line_ + static_cast<std::size_t>(std::count(begin, place, '\n'));
    item.fault = std::move(why);
    skip_to_next_document(resume);
    return false;
}

void Document_Reader::skip_to_next_document(std::size_t from)
{
    forget(from - start_);
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
