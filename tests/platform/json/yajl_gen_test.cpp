#include "platform/json/yajl_gen.h"

#include "platform/json/document.h"
#include "platform/json/json_dump.h"
#include "platform/json/json_generator.h"
#include "tests/platform/json/json_corpus.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>
#include <yajl/yajl_gen.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using json_spirit::Array;
using json_spirit::Object;
using json_spirit::Secure_String;
using json_spirit::Value;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

using Write = std::function<void(const YAJL_Gen&)>;

/// What `write` writes as a whole document.
std::string written(const Write& write)
{
    JSON_Text text;
    write(YAJL_Gen(text.get()));
    return text.take();
}

template <class T>
std::string as_value(const T& value)
{
    return written([&](const YAJL_Gen& out) { out << value; });
}

/// What `write` writes as the only key of an object.
std::string as_key(const Write& write)
{
    return written([&](const YAJL_Gen& out) {
        const YAJL_Map_Guard map(out);
        write(out);
        out << 1;
    });
}

std::string read_string(const std::string& text)
{
    Value value;
    std::string error;
    EXPECT_TRUE(json_spirit::read(text, value, &error)) << text << ' ' << error;
    return value.type() == json_spirit::str_type ? value.get_str() : "not a string";
}

bool is_valid(const std::string& text)
{
    return json_document::validate(text);
}

/// A generator with yajl's own buffer and the options of a caller.
class Caller_Generator
{
public:
    Caller_Generator(bool beautify, bool validate, bool escape_solidus) : gen_(yajl_gen_alloc(nullptr))
    {
        yajl_gen_config(gen_, yajl_gen_beautify, beautify ? 1 : 0);
        yajl_gen_config(gen_, yajl_gen_validate_utf8, validate ? 1 : 0);
        yajl_gen_config(gen_, yajl_gen_escape_solidus, escape_solidus ? 1 : 0);
    }
    Caller_Generator(const Caller_Generator&) = delete;
    Caller_Generator& operator=(const Caller_Generator&) = delete;
    ~Caller_Generator() { yajl_gen_free(gen_); }

    yajl_gen_t* get() const { return gen_; }

    std::string text() const
    {
        const unsigned char* buffer = nullptr;
        std::size_t length = 0;
        EXPECT_EQ(yajl_gen_get_buf(gen_, &buffer, &length), yajl_gen_status_ok);
        return {reinterpret_cast<const char*>(buffer), length};
    }

private:
    yajl_gen_t* gen_;
};

void write_everything(const YAJL_Gen& out)
{
    const YAJL_Map_Guard map(out);
    out << "plain"_key
        << "text"
        << "sla/sh"_key
        << "a/b" << std::string("dyn\"amic\xff") << std::string("\x01\xfe") << "int"_key << -5 << "value"_key
        << Value(Object{{"k", Array{1, "two", 3.5}}}) << "list"_key;
    {
        const YAJL_Array_Guard array(out);
        out << true << std::uint64_t{7};
        const YAJL_Map_Guard inner(out);
        out << std::string(5000, 'k') << std::string(5000, '\n');
    }
    out << "raw"_key;
    yajl_gen_raw(out.get(), "[1,2]");
}

/// A random value without secrets, so that it can be read back.
Value any_value(std::mt19937& random, int depth)
{
    const auto below = [&random](unsigned end) { return static_cast<unsigned>(random() % end); };
    const auto any_text = [&] {
        std::string text;
        for (unsigned length = below(40); length > 0; --length) {
            switch (below(4)) {
            case 0:
                text += static_cast<char>(below(0x80));
                break;
            case 1:
                text += "\xe2\x82\xac";
                break;
            default:
                text += static_cast<char>('a' + below(26));
            }
        }
        return text;
    };
    switch (below(depth > 0 ? 9 : 7)) {
    case 0:
        return Value();
    case 1:
        return Value(below(2) == 0);
    case 2:
        return Value(static_cast<std::int64_t>(std::uint64_t{random()} << 32 | random()));
    case 3:
        return Value(std::uint64_t{random()} << 32 | random());
    case 4:
        return Value((static_cast<double>(random()) - 2e9) / static_cast<double>(below(1000000) + 1));
    case 5:
    case 6:
        return Value(any_text());
    case 7: {
        Array array;
        for (unsigned size = below(6); size > 0; --size) {
            array.push_back(any_value(random, depth - 1));
        }
        return Value(std::move(array));
    }
    default: {
        Object object;
        for (unsigned size = below(6); size > 0; --size) {
            object[any_text()] = any_value(random, depth - 1);
        }
        return Value(std::move(object));
    }
    }
}

Value nested_array(int depth)
{
    Value value(Array{});
    for (int i = 1; i < depth; ++i) {
        Array outer;
        outer.push_back(std::move(value));
        value = std::move(outer);
    }
    return value;
}

void nest(const YAJL_Gen& out, int depth)
{
    const YAJL_Map_Guard map(out);
    out << "depth"_key << depth;
    if (depth > 1) {
        out << "inner"_key;
        nest(out, depth - 1);
        out << "after"_key << depth;
    }
}

} // namespace

TEST(YAJL_Gen, every_integer_width_keeps_its_sign)
{
    EXPECT_EQ(as_value(static_cast<short>(-32768)), "-32768");
    EXPECT_EQ(as_value(static_cast<unsigned short>(65535)), "65535");
    EXPECT_EQ(as_value(static_cast<signed char>(-128)), "-128");
    EXPECT_EQ(as_value(static_cast<unsigned char>(255)), "255");
    EXPECT_EQ(as_value(-2147483647 - 1), "-2147483648");
    EXPECT_EQ(as_value(4294967295U), "4294967295");
    EXPECT_EQ(as_value(std::numeric_limits<long>::min()), "-9223372036854775808");
    EXPECT_EQ(as_value(std::numeric_limits<unsigned long>::max()), "18446744073709551615");
    EXPECT_EQ(as_value(std::numeric_limits<long long>::max()), "9223372036854775807");
    EXPECT_EQ(as_value(std::numeric_limits<unsigned long long>::max()), "18446744073709551615");
    EXPECT_EQ(as_value(0), "0");
}

TEST(YAJL_Gen, a_c_string_is_a_text_and_no_boolean)
{
    const std::string text = "text";
    EXPECT_EQ(as_value(text.c_str()), "\"text\"");
    EXPECT_EQ(written([&](const YAJL_Gen& out) { out << text.c_str(); }), "\"text\"");
    EXPECT_EQ(written([](const YAJL_Gen& out) { out << "literal"; }), "\"literal\"");
    EXPECT_EQ(as_value(true), "true");
    EXPECT_EQ(as_value(false), "false");
}

TEST(YAJL_Gen, every_kind_of_text_is_written)
{
    EXPECT_EQ(as_value(std::string("a")), "\"a\"");
    EXPECT_EQ(as_value(std::string_view("ab").substr(1)), "\"b\"");
    EXPECT_EQ(as_value(YAJL_Gen::Str("abc", 2)), "\"ab\"");
    EXPECT_EQ(as_value(YAJL_Gen::Str("abc")), "\"abc\"");
    EXPECT_EQ(as_value("abc"_key), "\"abc\"");
    EXPECT_EQ(as_value(POSIX_Time_To_ISO8601(0, "%Y-%m-%d %H:%M:%S")), "\"1970-01-01 00:00:00\"");
}

TEST(YAJL_Gen, every_kind_of_text_can_be_a_key)
{
    EXPECT_EQ(as_key([](const YAJL_Gen& out) { out << "key"_key; }), R"({"key":1})");
    EXPECT_EQ(as_key([](const YAJL_Gen& out) { out << "k\"y"_key; }), R"({"k\"y":1})");
    EXPECT_EQ(as_key([](const YAJL_Gen& out) { out << "a/b"_key; }), R"({"a/b":1})");
    EXPECT_EQ(as_key([](const YAJL_Gen& out) { out << YAJL_Gen::Str("keys", 3); }), R"({"key":1})");
    EXPECT_EQ(as_key([](const YAJL_Gen& out) { out << "key"; }), R"({"key":1})");
    EXPECT_EQ(as_key([](const YAJL_Gen& out) { out << std::string("key"); }), R"({"key":1})");
    EXPECT_EQ(as_key([](const YAJL_Gen& out) { out << std::string_view("key"); }), R"({"key":1})");
    EXPECT_EQ(as_key([](const YAJL_Gen& out) { out << Value("key"); }), R"({"key":1})");
    EXPECT_EQ(as_key([](const YAJL_Gen& out) { out << ""; }), R"({"":1})");
}

TEST(YAJL_Gen, null_pointers_are_the_empty_text)
{
    const char* const null = nullptr;
    EXPECT_EQ(as_value(null), "\"\"");
    EXPECT_EQ(as_value(YAJL_Gen::Str(nullptr, 0)), "\"\"");
    EXPECT_EQ(as_value(YAJL_Gen::Str(null)), "\"\"");
    EXPECT_EQ(as_key([&](const YAJL_Gen& out) { out << null; }), R"({"":1})");
}

TEST(YAJL_Gen, each_ascii_character_reads_back_in_values_and_in_keys)
{
    for (int byte = 0; byte < 0x80; ++byte) {
        for (const std::string& around : {std::string(), std::string("abc"), std::string(20, 'x')}) {
            const std::string text = around + static_cast<char>(byte) + around;
            EXPECT_EQ(read_string(as_value(text)), text) << byte;
            Value value;
            ASSERT_TRUE(json_spirit::read(as_key([&](const YAJL_Gen& out) { out << text; }), value)) << byte;
            EXPECT_EQ(value.get_obj().begin()->first, text) << byte;
        }
    }
}

TEST(YAJL_Gen, a_special_character_is_found_at_each_place_of_a_text_of_each_length)
{
    for (std::size_t length = 1; length <= 40; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            for (const char special : {'"', '\\', '\x1f', '\0', '\n'}) {
                std::string text(length, 'x');
                text[at] = special;
                ASSERT_EQ(read_string(as_value(text)), text);
            }
            std::string invalid(length, 'x');
            invalid[at] = '\xff';
            ASSERT_EQ(read_string(as_value(invalid)), std::string(invalid).replace(at, 1, "\xef\xbf\xbd"));
        }
    }
}

TEST(YAJL_Gen, integers_of_every_length_are_spelled_as_the_standard_library_spells_them)
{
    std::uint64_t power = 1;
    for (int digits = 1; digits <= 20; ++digits, power *= 10) {
        for (const std::uint64_t number : {power - 1, power, power + 1, power / 3, power * 9}) {
            EXPECT_EQ(as_value(number), std::to_string(number));
            EXPECT_EQ(as_value(static_cast<std::int64_t>(number)), std::to_string(static_cast<std::int64_t>(number)));
            EXPECT_EQ(as_value(static_cast<std::int64_t>(0 - number)),
                      std::to_string(static_cast<std::int64_t>(0 - number)));
        }
    }
}

TEST(YAJL_Gen, escapes_are_the_short_ones)
{
    EXPECT_EQ(as_value("\"\\/\b\f\n\r\t\x01\x1f\x7f"), "\"\\\"\\\\/\\b\\f\\n\\r\\t\\u0001\\u001F\x7f\"");
    EXPECT_EQ(as_value(std::string("\0", 1)), "\"\\u0000\"");
}

TEST(YAJL_Gen, zero_bytes_are_written)
{
    EXPECT_EQ(as_value(std::string_view("a\0b", 3)), "\"a\\u0000b\"");
    EXPECT_EQ(as_key([](const YAJL_Gen& out) { out << std::string_view("a\0b", 3); }), "{\"a\\u0000b\":1}");
}

TEST(YAJL_Gen, valid_utf8_is_written_as_it_is)
{
    const std::string text =
        "\xc2\x80\xdf\xbf\xe0\xa0\x80\xed\x9f\xbf\xee\x80\x80\xef\xbf\xbf\xf0\x90\x80\x80\xf4\x8f\xbf\xbf";
    EXPECT_EQ(as_value(text), '"' + text + '"');
    EXPECT_EQ(as_key([&](const YAJL_Gen& out) { out << text; }), "{\"" + text + "\":1}");
}

TEST(YAJL_Gen, each_byte_that_is_not_part_of_valid_utf8_becomes_the_replacement_character)
{
    const std::string replaced = "\xef\xbf\xbd";
    const auto times = [&](int n) {
        std::string text = "\"<";
        for (int i = 0; i < n; ++i) {
            text += replaced;
        }
        return text + ">\"";
    };
    EXPECT_EQ(as_value("<\x80>"), times(1));
    EXPECT_EQ(as_value("<\xff\xfe>"), times(2));
    EXPECT_EQ(as_value("<\xc3>"), times(1));
    EXPECT_EQ(as_value("<\xe2\x82>"), times(2));
    EXPECT_EQ(as_value("<\xf0\x9f\x98>"), times(3));
    EXPECT_EQ(as_value("<\xc0\x80>"), times(2));
    EXPECT_EQ(as_value("<\xed\xa0\x80>"), times(3));
    EXPECT_EQ(as_value("<\xf4\x90\x80\x80>"), times(4));
    EXPECT_EQ(as_value("\xe2\x82"), '"' + replaced + replaced + '"');
    EXPECT_EQ(as_key([](const YAJL_Gen& out) { out << "<\xc3>"; }), "{\"<" + replaced + ">\":1}");
}

TEST(YAJL_Gen, any_bytes_of_any_length_make_a_valid_document)
{
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        std::string text(random() % 64, '\0');
        for (char& c : text) {
            c = static_cast<char>(random() % 4 == 0 ? random() : 0xe0 + random() % 3 * 0x60);
        }
        const std::string document = as_value(text);
        ASSERT_TRUE(is_valid(document));
        const std::string key = as_key([&](const YAJL_Gen& out) { out << text; });
        ASSERT_TRUE(is_valid(key));
        ASSERT_EQ(key, '{' + document + ":1}") << "a key and a value of the same text are spelled alike";
    }
}

TEST(YAJL_Gen, long_texts_are_written_whole)
{
    for (const std::size_t length : {1000u, 1021u, 1022u, 1023u, 1024u, 4095u, 4096u, 4097u, 8191u, 100000u, 1000000u})
    {
        for (const std::string unit : {"x", "\x01", "\"", "\xe2\x82\xac", "\xff"}) {
            std::string text;
            while (text.size() < length) {
                text += unit;
            }
            const std::string document = as_value(text);
            std::string expected;
            for (std::size_t i = 0; unit == "\xff" && i < text.size(); ++i) {
                expected += "\xef\xbf\xbd";
            }
            ASSERT_TRUE(read_string(document) == (unit == "\xff" ? expected : text)) << length;
        }
    }
}

TEST(YAJL_Gen, keys_and_values_follow_each_other)
{
    EXPECT_EQ(written([](const YAJL_Gen& out) {
                  const YAJL_Map_Guard map(out);
                  out << "seq"_key << 5 << "name"_key << std::string("n") << "flag"_key << true << "list"_key;
                  {
                      const YAJL_Array_Guard array(out);
                      out << 1 << "two" << false;
                  }
                  out << "end"_key
                      << "e";
              }),
              R"({"seq":5,"name":"n","flag":true,"list":[1,"two",false],"end":"e"})");
}

TEST(YAJL_Gen, does_not_free_a_generator_that_it_does_not_own)
{
    Caller_Generator gen(false, false, false);
    {
        const YAJL_Gen out(gen.get());
        EXPECT_EQ(out.get(), gen.get());
    }
    YAJL_Gen(gen.get()) << 1;
    EXPECT_EQ(gen.text(), "1");
}

TEST(YAJL_Gen, frees_a_generator_that_it_owns)
{
    int blocks = 0;
    yajl_alloc_funcs counting{};
    counting.ctx = &blocks;
    counting.malloc = [](void* count, std::size_t size) {
        ++*static_cast<int*>(count);
        return std::malloc(size);
    };
    counting.realloc = [](void* count, void* block, std::size_t size) {
        *static_cast<int*>(count) += block == nullptr ? 1 : 0;
        return std::realloc(block, size);
    };
    counting.free = [](void* count, void* block) {
        --*static_cast<int*>(count);
        std::free(block);
    };
    {
        const YAJL_Gen out(yajl_gen_alloc(&counting), true);
        out << "text";
        EXPECT_GT(blocks, 0);
    }
    EXPECT_EQ(blocks, 0);
}

TEST(YAJL_Gen, works_on_any_generator_that_a_caller_passes)
{
    const std::string expected = written(write_everything);
    ASSERT_TRUE(is_valid(expected));
    for (int options = 0; options < 8; ++options) {
        const Caller_Generator gen((options & 1) != 0, (options & 2) != 0, (options & 4) != 0);
        write_everything(YAJL_Gen(gen.get()));
        EXPECT_TRUE(is_valid(gen.text())) << options;
        EXPECT_TRUE(json_document::same_content(gen.text(), expected)) << options;
        if ((options & 5) == 0) {
            EXPECT_EQ(gen.text(), expected);
        }
    }
}

TEST(YAJL_Gen, what_cannot_be_a_key_is_not_written)
{
    EXPECT_EQ(written([](const YAJL_Gen& out) {
                  const YAJL_Map_Guard map(out);
                  out << 5 << true << Value(Array{1}) << Object{{"a", 1}} << Value() << "a"_key << 1;
                  EXPECT_FALSE(yajl_gen_raw(out.get(), "5"));
                  EXPECT_FALSE(yajl_gen_value(out.get(), Value(5)));
              }),
              R"({"a":1})");
}

TEST(YAJL_Map_Guard, closes_its_map_when_an_exception_leaves_the_scope)
{
    Log_Capture log;
    EXPECT_EQ(written([](const YAJL_Gen& out) {
                  const YAJL_Map_Guard map(out);
                  out << "list"_key;
                  try {
                      const YAJL_Array_Guard array(out);
                      out << 1;
                      const YAJL_Map_Guard inner(out);
                      throw std::runtime_error("leave");
                  } catch (const std::runtime_error&) {
                  }
              }),
              R"({"list":[1,{}]})");
    EXPECT_EQ(log.count(), 0u);
}

TEST(YAJL_Map_Guard, gives_null_to_a_key_that_was_left_without_a_value)
{
    Log_Capture log;
    EXPECT_EQ(written([](const YAJL_Gen& out) {
                  const YAJL_Map_Guard map(out);
                  out << "a"_key << 1 << "b"_key;
              }),
              R"({"a":1,"b":null})");
    ASSERT_EQ(log.count(), 1u);
    EXPECT_EQ(log.count(LM_ERROR, "A member of a JSON object was left without a value, null is written.\n"), 1u);
}

TEST(YAJL_Map_Guard, is_open_tells_whether_the_map_was_opened)
{
    JSON_Text text;
    const YAJL_Map_Guard map(text.get());
    EXPECT_TRUE(map.is_open());
    const YAJL_Map_Guard where_a_key_must_stand(text.get());
    EXPECT_FALSE(where_a_key_must_stand.is_open());
}

TEST(YAJL_Map_Guard, what_is_written_inside_a_refused_map_is_dropped)
{
    EXPECT_EQ(written([](const YAJL_Gen& out) {
                  const YAJL_Map_Guard map(out);
                  {
                      const YAJL_Map_Guard refused(out); // a key must stand here
                      out << "dropped"_key << 1 << "text" << std::string("x") << true << Value(Array{1}) << Object();
                      const YAJL_Array_Guard inner(out);
                      out << 2;
                      EXPECT_FALSE(inner.is_open());
                      EXPECT_FALSE(yajl_gen_raw(out.get(), "1"));
                      EXPECT_FALSE(yajl_gen_value(out.get(), Value("x")));
                  }
                  out << "kept"_key << 1;
              }),
              R"({"kept":1})");
}

TEST(YAJL_Map_Guard, a_refused_map_of_one_generator_does_not_touch_another)
{
    JSON_Text other;
    EXPECT_EQ(written([&](const YAJL_Gen& out) {
                  const YAJL_Map_Guard map(out);
                  const YAJL_Map_Guard refused(out);
                  {
                      const YAJL_Gen second(other.get());
                      const YAJL_Map_Guard second_map(second);
                      second << "a"_key
                             << "b";
                      out << "dropped"_key << 1;
                  }
              }),
              "{}");
    EXPECT_EQ(other.take(), R"({"a":"b"})");
}

TEST(YAJL_Map_Guard, nests_to_120_levels)
{
    Log_Capture log;
    const std::string text = written([](const YAJL_Gen& out) { nest(out, 120); });
    EXPECT_TRUE(is_valid(text));
    EXPECT_EQ(log.count(), 0u);
    std::size_t levels = 0;
    for (std::size_t at = text.find('{'); at != std::string::npos; at = text.find('{', at + 1)) {
        ++levels;
    }
    EXPECT_EQ(levels, 120u);
}

TEST(YAJL_Map_Guard, beyond_120_levels_null_is_written_once_and_logged_and_the_document_stays_valid)
{
    for (const int depth : {121, 127, 128, 129, 1000}) {
        Log_Capture log;
        const std::string text = written([depth](const YAJL_Gen& out) { nest(out, depth); });
        ASSERT_TRUE(is_valid(text)) << depth;
        EXPECT_NE(text.find("\"inner\":null,\"after\":" + std::to_string(depth - 119)), std::string::npos) << depth;
        EXPECT_EQ(text.find("\"depth\":" + std::to_string(depth - 120) + ","), std::string::npos) << depth;
        EXPECT_EQ(log.count(LM_ERROR, "JSON is nested deeper than 120 levels, null is written.\n"), 1u) << depth;
        EXPECT_EQ(log.count(), 1u) << depth;
    }
}

TEST(YAJL_Map_Guard, levels_that_a_caller_opened_by_itself_leave_room)
{
    const Caller_Generator gen(false, false, false);
    for (int i = 0; i < 7; ++i) {
        yajl_gen_array_open(gen.get());
    }
    nest(YAJL_Gen(gen.get()), 120);
    for (int i = 0; i < 7; ++i) {
        yajl_gen_array_close(gen.get());
    }
    EXPECT_TRUE(is_valid(gen.text()));
}

TEST(YAJL_Array_Guard, guards_that_end_out_of_order_leave_the_chain_whole)
{
    JSON_Text first;
    JSON_Text second;
    auto a = std::make_unique<YAJL_Array_Guard>(first.get());
    auto b = std::make_unique<YAJL_Array_Guard>(second.get());
    a.reset();
    YAJL_Gen(second.get()) << 1;
    b.reset();
    EXPECT_EQ(first.take(), "[]");
    EXPECT_EQ(second.take(), "[1]");
    write_everything(YAJL_Gen(first.get()));
    EXPECT_TRUE(is_valid(first.take()));
}

TEST(yajl_gen_value, writes_every_type)
{
    EXPECT_EQ(as_value(Value()), "null");
    EXPECT_EQ(as_value(Value(true)), "true");
    EXPECT_EQ(as_value(Value(-5)), "-5");
    EXPECT_EQ(as_value(Value(std::numeric_limits<std::uint64_t>::max())), "18446744073709551615");
    EXPECT_EQ(as_value(Value(1.0)), "1.0");
    EXPECT_EQ(as_value(Value("a\n")), "\"a\\n\"");
    EXPECT_EQ(as_value(Value(Array{1, "x", Array()})), "[1,\"x\",[]]");
    EXPECT_EQ(as_value(Value(Object{{"b", 1}, {"a", Object()}})), R"({"a":{},"b":1})");
    EXPECT_EQ(as_value(Array{1, 2}), "[1,2]");
    EXPECT_EQ(as_value(Object{{"\"", 1}}), R"({"\"":1})");
}

TEST(yajl_gen_value, secrets_are_written_in_clear)
{
    EXPECT_EQ(as_value(Value(Secure_String("sec\"ret"))), "\"sec\\\"ret\"");
    EXPECT_EQ(as_value(Object{{"password", Secure_String("secret")}}), R"({"password":"secret"})");
}

TEST(yajl_gen_value, tells_whether_the_value_was_written)
{
    JSON_Text text;
    EXPECT_TRUE(yajl_gen_value(text.get(), Value(1)));
    EXPECT_FALSE(yajl_gen_value(text.get(), Value(2)));
    EXPECT_FALSE(yajl_gen_value(text.get(), Value("x")));
    EXPECT_FALSE(yajl_gen_value(text.get(), Array{}));
    EXPECT_FALSE(yajl_gen_value(text.get(), Object{}));
    EXPECT_FALSE(yajl_gen_raw(text.get(), "3"));
    EXPECT_EQ(text.view(), "1");
}

TEST(yajl_gen_value, refuses_and_writes_nothing_where_a_real_is_not_finite)
{
    for (const double real : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()}) {
        for (const Value& value : {Value(real), Value(Array{1, real, 2}), Value(Object{{"a", 1}, {"b", Array{real}}})})
        {
            JSON_Text text;
            EXPECT_FALSE(yajl_gen_value(text.get(), value));
            EXPECT_EQ(text.view(), "");
        }
    }
}

TEST(yajl_gen_value, the_stream_operator_writes_null_for_a_real_that_is_not_finite_and_logs_it)
{
    Log_Capture log;
    EXPECT_EQ(written([](const YAJL_Gen& out) {
                  const YAJL_Map_Guard map(out);
                  out << "a"_key << Value(infinity) << "b"_key << Array{1, infinity} << "c"_key
                      << Object{{"x", infinity}} << "d"_key << 1;
              }),
              R"({"a":null,"b":null,"c":null,"d":1})");
    EXPECT_EQ(log.count(LM_ERROR, "A JSON value holds a real that is not finite, null is written.\n"), 3u);
    EXPECT_EQ(log.count(), 3u);
}

TEST(yajl_gen_value, values_nested_to_512_are_written_and_read_back)
{
    const Value deep = nested_array(512);
    for (const bool inside : {false, true}) {
        const std::string text = written([&](const YAJL_Gen& out) {
            if (inside) {
                const YAJL_Array_Guard array(out);
                out << 1 << deep << 2;
            } else {
                out << deep;
            }
        });
        EXPECT_EQ(text.substr(inside ? 3 : 0, 512), std::string(512, '['));
        if (!inside) {
            Value back;
            ASSERT_TRUE(json_spirit::read(text, back));
            EXPECT_EQ(back, deep);
        }
    }
}

TEST(yajl_gen_value, random_values_read_back_as_they_were)
{
    std::mt19937 random(42);
    for (int i = 0; i < 20000; ++i) {
        const Value value = any_value(random, 4);
        const std::string text = as_value(value);
        Value back;
        std::string error;
        ASSERT_TRUE(json_spirit::read(text, back, &error)) << text << error;
        ASSERT_EQ(back, value) << text;
        ASSERT_EQ(JSON_Dump(value).str(), text);
    }
}

TEST(yajl_gen_value, what_read_makes_is_written_with_the_same_meaning)
{
    for (const std::string& text : json_corpus::valid()) {
        Value value;
        ASSERT_TRUE(json_spirit::read(text, value));
        Value back;
        ASSERT_TRUE(json_spirit::read(as_value(value), back)) << text;
        EXPECT_EQ(back, value) << text;
    }
}

TEST(yajl_gen_raw, text_is_written_byte_for_byte)
{
    EXPECT_EQ(written([](const YAJL_Gen& out) {
                  const YAJL_Array_Guard array(out);
                  EXPECT_TRUE(yajl_gen_raw(out.get(), "{ \"b\" : 1.50,\n\"b\":\"\\u0041\" }"));
                  EXPECT_TRUE(yajl_gen_raw(out.get(), "null"));
              }),
              "[{ \"b\" : 1.50,\n\"b\":\"\\u0041\" },null]");
}
