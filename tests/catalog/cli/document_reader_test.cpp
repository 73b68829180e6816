#include "catalog/cli/document_reader.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <sstream>
#include <streambuf>

using namespace catalog::cli;

namespace {

using Item = Document_Reader::Item;

std::vector<Item> all_items(std::istream& in, std::size_t longest = 1 << 20)
{
    Document_Reader reader(in, longest);
    std::vector<Item> items;
    for (Item item; reader.next(item);) {
        items.push_back(item);
    }
    return items;
}

std::vector<Item> all_items(const std::string& text, std::size_t longest = 1 << 20)
{
    std::istringstream in(text);
    return all_items(in, longest);
}

/// "line:text" of each document, "line!fault" of each fault.
std::vector<std::string> told(const std::vector<Item>& items)
{
    std::vector<std::string> all;
    for (const Item& item : items) {
        all.push_back(std::to_string(item.line) + (item.fault.empty() ? ":" + item.text : "!" + item.fault));
    }
    return all;
}

using Told = std::vector<std::string>;

/// A stream that has a few bytes at hand at a time.
class Dripping_Buffer : public std::streambuf
{
public:
    Dripping_Buffer(std::string text, std::size_t step, int error_number = 0) :
        text_(std::move(text)), step_(step), error_number_(error_number)
    {}

private:
    int_type underflow() override
    {
        if (at_ == text_.size()) {
            if (error_number_ != 0) {
                errno = error_number_;
                throw std::ios_base::failure("read"); // as a file's buffer does
            }
            return traits_type::eof();
        }
        const std::size_t count = std::min(step_, text_.size() - at_);
        setg(text_.data() + at_, text_.data() + at_, text_.data() + at_ + count);
        at_ += count;
        return traits_type::to_int_type(*gptr());
    }

    std::string text_;
    std::size_t step_;
    std::size_t at_ = 0;
    int error_number_;
};

} // namespace

TEST(Document_Reader, one_document_over_many_lines)
{
    const std::string document = "{\n  \"a\": {\"b\": [1, 2]},\n  \"c\": \"}\\\"{\"\n}";
    EXPECT_EQ(told(all_items("\n\n" + document + "\n\n")), Told{"3:" + document});
}

TEST(Document_Reader, one_document_a_line)
{
    EXPECT_EQ(told(all_items("{\"a\":1}\n\n{\"b\":2}\r\n{\"c\":3}")),
              (Told{"1:{\"a\":1}", "3:{\"b\":2}", "4:{\"c\":3}"}));
}

TEST(Document_Reader, several_documents_over_many_lines)
{
    EXPECT_EQ(told(all_items("{\n\"a\":1\n}\n{\n\"b\":2\n}\n")), (Told{"1:{\n\"a\":1\n}", "4:{\n\"b\":2\n}"}));
}

TEST(Document_Reader, no_document_in_white_space)
{
    EXPECT_TRUE(all_items("").empty());
    EXPECT_TRUE(all_items(" \n\t\r\n").empty());
}

TEST(Document_Reader, documents_are_numbered)
{
    const std::vector<Item> items = all_items("{}\nrubbish\n{}\n");
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[0].number, 1u);
    EXPECT_EQ(items[1].number, 2u);
    EXPECT_EQ(items[2].number, 3u);
}

TEST(Document_Reader, a_malformed_line_leaves_the_others_alone)
{
    const Told items = told(all_items("{\"a\":1}\n{\"b\" 2}\n{\"c\":3}\n"));
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[0], "1:{\"a\":1}");
    EXPECT_TRUE(items[1].starts_with("2!malformed JSON: ")) << items[1];
    EXPECT_EQ(items[2], "3:{\"c\":3}");
}

TEST(Document_Reader, a_line_that_is_cut_off_does_not_swallow_the_next)
{
    // The second line could go on with the third: {"b": {"c":3} and only the fourth contradicts that.
    const Told items = told(all_items("{\"a\":1}\n{\"b\":\n{\"c\":3}\n{\"d\":4}\n"));
    ASSERT_EQ(items.size(), 4u);
    EXPECT_EQ(items[0], "1:{\"a\":1}");
    EXPECT_TRUE(items[1].starts_with("4!malformed JSON: ")) << items[1];
    EXPECT_EQ(items[2], "3:{\"c\":3}");
    EXPECT_EQ(items[3], "4:{\"d\":4}");
}

TEST(Document_Reader, an_open_string_ends_with_its_line)
{
    const Told items = told(all_items("{\"a\":\"x\n{\"b\":2}\n"));
    ASSERT_EQ(items.size(), 2u);
    EXPECT_TRUE(items[0].starts_with("1!malformed JSON: ")) << items[0];
    EXPECT_EQ(items[1], "2:{\"b\":2}");
}

TEST(Document_Reader, an_end_inside_a_document_is_a_fault)
{
    EXPECT_EQ(told(all_items("{\"a\":1}\n{\"b\":\n\n")),
              (Told{"1:{\"a\":1}", "4!malformed JSON: the input ends inside the document"}));
}

TEST(Document_Reader, a_fault_in_a_long_document_names_its_line)
{
    const Told items = told(all_items("{\n  \"a\": 1,\n  \"b\": ,\n  \"c\": {}\n}\n"));
    ASSERT_EQ(items.size(), 1u) << "braces that are indented begin no document";
    EXPECT_TRUE(items[0].starts_with("3!malformed JSON: ")) << items[0];
}

TEST(Document_Reader, something_behind_a_document_is_a_fault)
{
    EXPECT_EQ(told(all_items("{\"a\":1} x\n{\"b\":2}\n")),
              (Told{"1!something stands behind the document on its last line", "2:{\"b\":2}"}));
    EXPECT_EQ(told(all_items("{\"a\":1}{\"b\":2}\n")),
              (Told{"1!something stands behind the document on its last line"}));
}

TEST(Document_Reader, an_array_is_no_document)
{
    const Told items = told(all_items("[\n{\"a\":1},\n{\"b\":2}\n]\n"));
    EXPECT_EQ(items, (Told{"1!a document begins with '{'", "2!something stands behind the document on its last line",
                           "3:{\"b\":2}", "4!a document begins with '{'"}));
}

TEST(Document_Reader, bytes_that_are_not_utf8_are_a_fault)
{
    const Told items = told(all_items("{\"a\":\"caf\xe9\"}\n{}\n"));
    ASSERT_EQ(items.size(), 2u);
    EXPECT_TRUE(items[0].starts_with("1!malformed JSON: ")) << items[0];
    EXPECT_EQ(items[1], "2:{}");
}

TEST(Document_Reader, a_document_nested_too_deeply_is_a_fault)
{
    std::string deep = "{\"a\":";
    for (int i = 0; i < 600; ++i) {
        deep += "[";
    }
    const Told items = told(all_items(deep + "\n{}\n"));
    EXPECT_EQ(items, (Told{"1!malformed JSON: nested too deeply", "2:{}"}));
}

TEST(Document_Reader, a_document_that_is_too_long_is_a_fault)
{
    const std::string fits = "{\"a\":\"" + std::string(92, 'x') + "\"}";
    ASSERT_EQ(fits.size(), 100u);
    EXPECT_EQ(told(all_items(fits + "\n{}\n", 100)), (Told{"1:" + fits, "2:{}"}));
    const std::string longer = "{\"a\":\"" + std::string(93, 'x') + "\"}";
    EXPECT_EQ(told(all_items(longer + "\n{}\n", 100)), (Told{"1!longer than 100 bytes", "2:{}"}));
}

TEST(Document_Reader, pieces_of_any_size_give_the_same_documents)
{
    const std::string text =
        "\n{\"a\":\"Grö\\u00dfe 备份\"}\n{\n \"b\": [1,2,\n{}]}  \r\n{\"c\" 1}\nx\n{\"d\":\n{\"e\":1}\n{\"f\":0}";
    const Told whole = told(all_items(text));
    ASSERT_EQ(whole.size(), 6u) << "the line x goes with the malformed one before it";
    for (std::size_t step = 1; step <= text.size(); ++step) {
        Dripping_Buffer buffer(text, step);
        std::istream in(&buffer);
        EXPECT_EQ(told(all_items(in)), whole) << "pieces of " << step;
    }
}

TEST(Document_Reader, many_documents_do_not_stay_in_memory)
{
    // The buffer is what would grow: a stream of 64 MiB in documents of 1 KiB must not need more than a few pieces.
    class Endless_Buffer : public std::streambuf
    {
    public:
        explicit Endless_Buffer(std::size_t left) : left_(left), line_("{\"a\":\"" + std::string(1000, 'x') + "\"}\n")
        {}

    private:
        int_type underflow() override
        {
            if (left_-- == 0) {
                return traits_type::eof();
            }
            setg(line_.data(), line_.data(), line_.data() + line_.size());
            return traits_type::to_int_type(*gptr());
        }
        std::size_t left_;
        std::string line_;
    };
    Endless_Buffer buffer(65536);
    std::istream in(&buffer);
    Document_Reader reader(in, 1 << 20);
    std::size_t count = 0;
    for (Item item; reader.next(item); ++count) {
        ASSERT_TRUE(item.fault.empty()) << item.fault;
        ASSERT_LT(reader.held_bytes(), std::size_t{1} << 20);
    }
    EXPECT_EQ(count, 65536u);
    EXPECT_EQ(reader.error_number(), 0);
}

TEST(Document_Reader, must_wait_when_no_whole_line_is_at_hand)
{
    Dripping_Buffer buffer("{}\n{}\n{}\n", 6); // two lines at hand, then the third
    std::istream in(&buffer);
    Document_Reader reader(in, 100);
    Item item;
    ASSERT_TRUE(reader.next(item));
    EXPECT_FALSE(reader.must_wait());
    ASSERT_TRUE(reader.next(item));
    EXPECT_TRUE(reader.must_wait());
    ASSERT_TRUE(reader.next(item));
    EXPECT_TRUE(reader.must_wait());
    EXPECT_FALSE(reader.next(item));
}

TEST(Document_Reader, an_unreadable_stream_is_told_from_one_that_ends)
{
    Dripping_Buffer buffer("{\"a\":1}\n{\"b\":", 100, EIO);
    std::istream in(&buffer);
    Document_Reader reader(in, 100);
    Item item;
    ASSERT_TRUE(reader.next(item));
    EXPECT_EQ(item.text, "{\"a\":1}");
    EXPECT_FALSE(reader.next(item));
    EXPECT_EQ(reader.error_number(), EIO);
}
