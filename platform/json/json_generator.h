// Objects that write themselves as JSON.
#pragma once

#include "platform/export.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

struct yajl_gen_t;

namespace json_text {
class Pretty_Writer;
}

/// The interface of objects that write themselves through a yajl generator.
class BACKUP_PLATFORM_EXPORT JSON_Generator
{
public:
    virtual ~JSON_Generator() = default;

    /// Writes exactly one JSON value. Returns false when the value could not be written whole.
    virtual bool generate(yajl_gen_t* gen) = 0;
};

/// A yajl generator together with the text that it has written.
class BACKUP_PLATFORM_EXPORT JSON_Text
{
public:
    enum Style
    {
        COMPACT,
        PRETTY ///< a member or element a line, indented by four blanks; also what is inside values written raw
    };

    explicit JSON_Text(Style style = COMPACT);
    JSON_Text(const JSON_Text&) = delete;
    JSON_Text& operator=(const JSON_Text&) = delete;
    ~JSON_Text();

    /// The generator to write to; owned by this object.
    yajl_gen_t* get() const { return gen_; }

    /// What was written so far; valid until the next write.
    std::string_view view() const { return {room_.data(), static_cast<std::size_t>(next_ - room_.data())}; }

    /// Hands the text over and starts anew.
    std::string take();

    /// Forgets the text, keeps its room, starts anew.
    void clear();

private:
    static void print(void* self, const char* piece, std::size_t length);
    static void print_pretty(void* self, const char* piece, std::size_t length);
    void append(const char* piece, std::size_t length);
    void grow(std::size_t length);

    std::string room_; ///< the text and room behind it
    char* next_ = room_.data();
    char* end_ = next_;
    std::unique_ptr<json_text::Pretty_Writer> pretty_; ///< null when compact
    yajl_gen_t* gen_;
};

/// The JSON text of `object`; empty when its `generate` returns false. Exceptions of `generate` pass through.
BACKUP_PLATFORM_EXPORT std::string to_json(JSON_Generator& object);
