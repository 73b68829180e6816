#include "catalog/cli/output.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <sstream>
#include <streambuf>

using namespace catalog::cli;

namespace {

/// Takes some characters and then fails as write(2) does.
class Failing_Buffer : public std::streambuf
{
public:
    Failing_Buffer(std::size_t room, int error_number) : room_(room), error_number_(error_number) {}

    const std::string& text() const { return text_; }

private:
    std::streamsize xsputn(const char* text, std::streamsize count) override
    {
        if (text_.size() + static_cast<std::size_t>(count) > room_) {
            errno = error_number_;
            return 0;
        }
        text_.append(text, static_cast<std::size_t>(count));
        return count;
    }

    std::size_t room_;
    int error_number_;
    std::string text_;
};

} // namespace

TEST(Output, writes_lines)
{
    std::ostringstream stream;
    Output out(stream);
    out.write("a");
    out.line("b");
    out.flush();
    EXPECT_EQ(stream.str(), "ab\n");
    EXPECT_TRUE(out.good());
    EXPECT_FALSE(out.closed());
}

TEST(Output, remembers_the_first_failure_and_writes_no_more)
{
    Failing_Buffer buffer(3, ENOSPC);
    std::ostream stream(&buffer);
    Output out(stream);
    out.write("abc");
    EXPECT_TRUE(out.good());
    out.write("d");
    EXPECT_FALSE(out.good());
    EXPECT_FALSE(out.closed());
    stream.clear();
    errno = 0;
    out.write("");
    out.flush();
    EXPECT_EQ(out.error_number(), ENOSPC);
    EXPECT_EQ(buffer.text(), "abc");
}

TEST(Output, knows_a_reader_that_has_gone)
{
    Failing_Buffer buffer(0, EPIPE);
    std::ostream stream(&buffer);
    Output out(stream);
    out.line("x");
    EXPECT_FALSE(out.good());
    EXPECT_TRUE(out.closed());
}
