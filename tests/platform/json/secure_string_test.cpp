#include "platform/json/value.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace {

constexpr std::string_view short_secret = "pass-word-123";                            // held inside the object
constexpr std::string_view long_secret = "a pass phrase that does not fit inside it"; // held on the heap

/// The heap block that is watched, and what it held when it was given back.
const void* watched = nullptr;
std::size_t watched_size = 0;
std::string seen_at_release;

void* allocate(std::size_t size)
{
    if (void* block = std::malloc(size)) {
        return block;
    }
    throw std::bad_alloc();
}

void release(void* block) noexcept
{
    if (block != nullptr && block == watched) {
        seen_at_release.assign(static_cast<const char*>(block), watched_size);
        watched = nullptr;
    }
    std::free(block);
}

void watch(const void* block, std::size_t size)
{
    seen_at_release = "never released";
    watched = block;
    watched_size = size;
}

void watch(const json_spirit::Secure_String& secret)
{
    watch(secret.str().data(), secret.str().size());
}

const std::string nothing_left(long_secret.size(), '\0');

/// An object in storage that can be looked at after its end.
template <class T>
class Observed
{
public:
    template <class... Arguments>
    explicit Observed(Arguments&&... arguments) : object_(::new (storage_) T(std::forward<Arguments>(arguments)...))
    {}

    T& operator*() { return *object_; }
    void end() { object_->~T(); }

    bool holds(std::string_view text) const
    {
        return std::string_view(reinterpret_cast<const char*>(storage_), sizeof storage_).find(text)
               != std::string_view::npos;
    }

private:
    alignas(T) unsigned char storage_[sizeof(T)] = {};
    T* object_;
};

} // namespace

// Of the whole test program: every block passes here when it is given back.
void* operator new(std::size_t size)
{
    return allocate(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return std::malloc(size);
}

void operator delete(void* block) noexcept
{
    release(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    release(block);
}

using json_spirit::Secure_String;
using json_spirit::Value;

TEST(Secure_String, gives_the_secret_in_clear)
{
    EXPECT_EQ(Secure_String(short_secret).str(), short_secret);
    EXPECT_EQ(Secure_String(long_secret).str(), long_secret);
    EXPECT_EQ(Secure_String().str(), "");
}

TEST(Secure_String, copies_and_moves_carry_the_secret)
{
    for (const std::string_view text : {short_secret, long_secret}) {
        Secure_String original(text);
        Secure_String copy(original);
        EXPECT_EQ(copy.str(), text);
        EXPECT_EQ(original.str(), text);
        Secure_String moved(std::move(copy));
        EXPECT_EQ(moved.str(), text);
        for (const std::string_view before : {std::string_view(), short_secret, long_secret}) {
            Secure_String assigned(before);
            assigned = original;
            EXPECT_EQ(assigned.str(), text);
            Secure_String taken(before);
            taken = Secure_String(text);
            EXPECT_EQ(taken.str(), text);
        }
    }
}

TEST(Secure_String, assigning_to_itself_keeps_the_secret)
{
    for (const std::string_view text : {short_secret, long_secret}) {
        Secure_String secret(text);
        Secure_String& same = secret;
        secret = same;
        EXPECT_EQ(secret.str(), text);
        secret = std::move(same);
        EXPECT_EQ(secret.str(), text);
    }
}

TEST(Secure_String, is_equal_by_content)
{
    EXPECT_EQ(Secure_String("a"), Secure_String("a"));
    EXPECT_FALSE(Secure_String("a") == Secure_String("b"));
}

TEST(Secure_String, short_secret_is_wiped_on_destruction)
{
    Observed<Secure_String> secret(short_secret);
    ASSERT_TRUE(secret.holds(short_secret.substr(1)));
    secret.end();
    EXPECT_FALSE(secret.holds(short_secret.substr(1)));
}

TEST(Secure_String, long_secret_is_wiped_before_its_memory_is_given_back)
{
    {
        const Secure_String secret(long_secret);
        watch(secret);
    }
    EXPECT_EQ(seen_at_release, nothing_left);
}

TEST(Secure_String, short_secret_is_wiped_when_moved_from)
{
    Observed<Secure_String> secret(short_secret);
    const Secure_String taken(std::move(*secret));
    EXPECT_FALSE(secret.holds(short_secret.substr(1)));
    EXPECT_EQ((*secret).str(), "");
    secret.end();

    Observed<Secure_String> source(short_secret);
    Secure_String target;
    target = std::move(*source);
    EXPECT_FALSE(source.holds(short_secret.substr(1)));
    EXPECT_EQ(target.str(), short_secret);
    source.end();
}

TEST(Secure_String, short_secret_is_wiped_when_a_shorter_or_a_longer_one_replaces_it)
{
    for (const std::string_view next : {std::string_view("x"), long_secret}) {
        Observed<Secure_String> secret(short_secret);
        const Secure_String replacement(next);
        *secret = replacement;
        EXPECT_FALSE(secret.holds(short_secret.substr(2)));
        *secret = Secure_String(short_secret);
        *secret = Secure_String(next);
        EXPECT_FALSE(secret.holds(short_secret.substr(2)));
        secret.end();
    }
}

TEST(Secure_String, long_secret_is_wiped_when_replaced)
{
    const std::string longer(1000, 'y');
    for (const std::string_view next : {std::string_view("x"), std::string_view(longer)}) {
        {
            Secure_String secret(long_secret);
            const Secure_String replacement(next);
            watch(secret);
            secret = replacement;
        }
        EXPECT_EQ(std::string(seen_at_release).substr(next.size() == 1 ? 1 : 0).find(long_secret.substr(1)),
                  std::string::npos);
        EXPECT_NE(seen_at_release, "never released");
        {
            Secure_String secret(long_secret);
            watch(secret);
            secret = Secure_String(next);
        }
        EXPECT_EQ(seen_at_release, nothing_left);
    }
}

TEST(Secure_String, rest_of_a_longer_secret_does_not_survive_behind_a_shorter_one)
{
    Secure_String secret(long_secret);
    const char* const block = secret.str().data();
    const Secure_String shorter(std::string_view("short one that is longer than the object"));
    secret = shorter;
    ASSERT_EQ(secret.str().data(), block) << "the test needs the block to be reused";
    EXPECT_EQ(std::string_view(block, long_secret.size()).find("inside it"), std::string_view::npos);
}

TEST(Secure_String, value_wipes_its_secret_when_it_gets_another_value)
{
    Observed<Value> value(Secure_String{short_secret});
    ASSERT_TRUE(value.holds(short_secret.substr(1)));
    *value = 5;
    EXPECT_FALSE(value.holds(short_secret.substr(1)));
    *value = Secure_String(short_secret);
    *value = Value("text");
    EXPECT_FALSE(value.holds(short_secret.substr(1)));
    value.end();
}

TEST(Secure_String, value_wipes_its_secret_when_moved_from_or_destroyed)
{
    Observed<Value> value(Secure_String{short_secret});
    const Value taken(std::move(*value));
    EXPECT_EQ(taken.get_secure_str(), short_secret);
    EXPECT_FALSE(value.holds(short_secret.substr(1)));
    value.end();

    Observed<Value> destroyed(Secure_String{short_secret});
    destroyed.end();
    EXPECT_FALSE(destroyed.holds(short_secret.substr(1)));
}

TEST(Secure_String, growing_array_leaves_no_secret_in_its_old_memory)
{
    json_spirit::Array array;
    array.reserve(1);
    array.emplace_back(Secure_String(short_secret));
    const std::string before(reinterpret_cast<const char*>(array.data()), sizeof(Value));
    ASSERT_NE(before.find(short_secret.substr(1)), std::string::npos);
    watch(array.data(), sizeof(Value));
    array.emplace_back(1);
    ASSERT_NE(seen_at_release, "never released");
    EXPECT_EQ(seen_at_release.find(short_secret.substr(1)), std::string::npos);
    EXPECT_EQ(array[0].get_secure_str(), short_secret);
}
