#include "platform/sql/binding_value.h"

#include <cstring>

Binding_Value::Binding_Value(const void* bytes, std::size_t length)
{
    if (length == std::tuple_size_v<UUID>) {
        std::memcpy(held_.emplace<UUID>().data(), bytes, length);
    } else {
        held_.emplace<Bytes>().bytes.assign(static_cast<const char*>(bytes), length);
    }
}
