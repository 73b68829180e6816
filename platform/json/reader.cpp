#include "platform/json/detail/scanner.h"
#include "platform/json/value.h"

#include <algorithm>
#include <bit>
#include <memory>
#include <tuple>

namespace json_spirit {
namespace {

/// One value or key of a text. A container stands before its content.
struct Token
{
    enum Kind : std::uint8_t
    {
        OBJECT,
        ARRAY,
        KEY,
        STRING,
        INTEGER,
        REAL,
        LITERAL
    };

    const char* begin;
    std::size_t size;   ///< bytes of the spelling (without quotes); of a container: how many children
    std::uint32_t next; ///< of a container: where the token behind its content stands
    Kind kind;
    bool escaped;

    std::string_view spelling() const { return {begin, size}; }
};

/// Collects the tokens of a text, so that afterwards every container can be made in its final size.
class Tokens
{
public:
    Tokens() : begin_(room_), next_(room_), end_(room_ + std::size(room_)) {}
    Tokens(const Tokens&) = delete;
    Tokens& operator=(const Tokens&) = delete;

    const Token* begin() const { return begin_; }

    void open_object(const char* at) { open(at, Token::OBJECT); }
    void open_array(const char* at) { open(at, Token::ARRAY); }
    void close_object(const char*) { close(); }
    void close_array(const char*) { close(); }

    void key(const char* begin, const char* end, bool escaped) { add(begin, end, Token::KEY, escaped); }
    void string(const char* begin, const char* end, bool escaped) { add_value(begin, end, Token::STRING, escaped); }
    void literal(const char* begin, const char* end) { add_value(begin, end, Token::LITERAL, false); }
    void number(const char* begin, const char* end, bool integer)
    {
        add_value(begin, end, integer ? Token::INTEGER : Token::REAL, false);
    }

private:
    static constexpr std::uint32_t none = ~std::uint32_t{0};

    std::uint32_t count() const { return static_cast<std::uint32_t>(next_ - begin_); }

    void add(const char* begin, const char* end, Token::Kind kind, bool escaped)
    {
        if (next_ == end_) {
            grow();
        }
        *next_++ = {begin, static_cast<std::size_t>(end - begin), 0, kind, escaped};
    }

    void add_value(const char* begin, const char* end, Token::Kind kind, bool escaped)
    {
        add(begin, end, kind, escaped);
        count_child();
    }

    void count_child()
    {
        if (innermost_ != none) {
            ++begin_[innermost_].size;
        }
    }

    void open(const char* at, Token::Kind kind)
    {
        count_child();
        const std::uint32_t self = count();
        add(at, at, kind, false);
        begin_[self].next = innermost_; // while it is open: the container around it
        innermost_ = self;
    }

    void close()
    {
        Token& container = begin_[innermost_];
        innermost_ = container.next;
        container.next = count();
    }

    void grow()
    {
        const std::size_t used = count();
        auto larger = std::make_unique_for_overwrite<Token[]>(2 * used);
        std::copy(begin_, next_, larger.get());
        heap_ = std::move(larger);
        begin_ = heap_.get();
        next_ = begin_ + used;
        end_ = begin_ + 2 * used;
    }

    Token room_[128];
    std::unique_ptr<Token[]> heap_;
    Token* begin_;
    Token* next_;
    Token* end_;
    std::uint32_t innermost_ = none;
};

std::string text_of(const Token& token)
{
    std::string text;
    if (token.escaped) {
        json_text::append_unescaped(text, token.begin, token.begin + token.size);
    } else {
        text.assign(token.begin, token.size);
    }
    return text;
}

/// A member of an object by its key: the first eight bytes as a number that orders like them, then the key itself.
struct Member_Place
{
    std::uint64_t prefix;
    const Token* key;

    friend bool operator<(const Member_Place& a, const Member_Place& b)
    {
        return a.prefix != b.prefix ? a.prefix < b.prefix : a.key->spelling() < b.key->spelling();
    }
};

} // namespace

class Value_Builder
{
public:
    explicit Value_Builder(std::string_view text, const Token* tokens) :
        end_(text.data() + text.size()), tokens_(tokens)
    {}

    /// Makes the value at `token` in `value`, which is null before. Returns the token behind it.
    const Token* build(const Token* token, Value& value)
    {
        switch (token->kind) {
        case Token::OBJECT:
            std::construct_at(&value.object_);
            value.held_ = Value::Held::OBJECT;
            return build_object(token, value.object_);
        case Token::ARRAY:
            std::construct_at(&value.array_);
            value.held_ = Value::Held::ARRAY;
            return build_array(token, value.array_);
        case Token::STRING:
            if (token->escaped) {
                std::construct_at(&value.string_, text_of(*token));
            } else {
                std::construct_at(&value.string_, token->begin, token->size);
            }
            value.held_ = Value::Held::STRING;
            break;
        case Token::LITERAL:
            if (*token->begin != 'n') {
                value.boolean_ = *token->begin == 't';
                value.held_ = Value::Held::BOOLEAN;
            }
            break;
        case Token::INTEGER:
            if (std::int64_t integer = 0; json_text::parse_short_integer(token->spelling(), integer)) {
                value.signed_ = integer;
                value.held_ = Value::Held::SIGNED;
                break;
            }
            [[fallthrough]];
        default:
            json_text::parse_number(token->spelling(), value);
        }
        return token + 1;
    }

private:
    const Token* build_array(const Token* token, Array& array)
    {
        array.resize(token->size);
        const Token* next = token + 1;
        for (Value& element : array) {
            next = build(next, element);
        }
        return next;
    }

    const Token* build_object(const Token* token, Object& object)
    {
        const Token* const end = tokens_ + token->next;
        Object::sequence_type members;
        members.reserve(token->size);
        Member_Place here[few_keys];
        std::unique_ptr<Member_Place[]> heap;
        Member_Place* places = here;
        if (token->size > few_keys) {
            heap = std::make_unique_for_overwrite<Member_Place[]>(token->size);
            places = heap.get();
        }
        const bool plain = sort_keys(token, places);
        if (plain) {
            for (std::size_t i = 0; i < token->size; ++i) {
                if (i + 1 == token->size || places[i] < places[i + 1]) {
                    add_member(places[i].key, members);
                }
            }
        } else {
            for (const Token* key = token + 1; key != end; key = behind_value(key + 1)) {
                add_member(key, members);
            }
            sort_members(members);
        }
        object.adopt_sequence(boost::container::ordered_unique_range, std::move(members));
        return end;
    }

    const Token* behind_value(const Token* value) const
    {
        return value->kind <= Token::ARRAY ? tokens_ + value->next : value + 1;
    }

    void add_member(const Token* key, Object::sequence_type& members)
    {
        if (key->escaped) {
            members.emplace_back(text_of(*key), Value());
        } else {
            members.emplace_back(std::piecewise_construct, std::forward_as_tuple(key->begin, key->size),
                                 std::forward_as_tuple());
        }
        build(key + 1, members.back().second);
    }

    std::uint64_t prefix_of(const Token& key) const
    {
        std::uint64_t bytes = 0;
        if (end_ - key.begin >= 8) {
            bytes = json_text::load_8_bytes(key.begin);
            if constexpr (std::endian::native == std::endian::little) {
                bytes = __builtin_bswap64(bytes);
            }
            return key.size >= 8 ? bytes : bytes & ~(~std::uint64_t{0} >> 8 * key.size);
        }
        for (std::size_t i = 0; i < std::min<std::size_t>(key.size, 8); ++i) {
            bytes |= static_cast<std::uint64_t>(static_cast<unsigned char>(key.begin[i])) << (56 - 8 * i);
        }
        return bytes;
    }

    /// Puts the keys of an object in order, equal ones as they come. False when a key has an escape: its spelling says
    /// nothing about its place.
    bool sort_keys(const Token* object, Member_Place* places) const
    {
        const bool few = object->size <= few_keys;
        std::size_t count = 0;
        const Token* const end = tokens_ + object->next;
        for (const Token* key = object + 1; key != end; key = behind_value(key + 1)) {
            if (key->escaped) {
                return false;
            }
            const Member_Place place{prefix_of(*key), key};
            std::size_t at = count++;
            for (; few && at > 0 && place < places[at - 1]; --at) {
                places[at] = places[at - 1];
            }
            places[at] = place;
        }
        if (!few) {
            std::stable_sort(places, places + count);
        }
        return true;
    }

    static void sort_members(Object::sequence_type& members)
    {
        std::stable_sort(members.begin(), members.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        // Of equal keys the last one stays, so the run is walked from its end.
        const auto kept = std::unique(members.rbegin(), members.rend(),
                                      [](const auto& a, const auto& b) { return a.first == b.first; });
        members.erase(members.begin(), kept.base());
    }

    /// So many keys are put in order on the stack, as they come.
    static constexpr std::size_t few_keys = 16;

    const char* end_;
    const Token* tokens_;
};

bool read(std::string_view text, Value& value, std::string* error)
{
    // What most JSON columns hold needs none of the preparations below.
    if (text == "{}") {
        value = Object();
        return true;
    }
    if (text == "[]") {
        value = Array();
        return true;
    }
    Tokens tokens;
    json_text::Scanner<Tokens> scanner(text, tokens);
    if (!scanner.scan()) {
        if (error != nullptr) {
            *error = scanner.fault().message();
        }
        return false;
    }
    Value result;
    Value_Builder(text, tokens.begin()).build(tokens.begin(), result);
    value = std::move(result);
    return true;
}

} // namespace json_spirit
