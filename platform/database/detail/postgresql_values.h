// Values on the wire to and from a PostgreSQL server.
#pragma once

#include "platform/database/detail/column_sink.h"
#include "platform/sql/binding_value.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace database_detail {

/// How a result column's values are read.
struct Wire_Type
{
    enum Form : std::uint8_t
    {
        TEXT,
        TIMESTAMP,
        DATE,
        INT2,
        INT4,
        INT8,
        OID,
        NUMERIC,
        BOOL,
        JSONB,
        UUID,
        BYTEA,
        FLOAT4,
        FLOAT8
    };

    Form form;
    Kind kind;
};

/// By the type's OID and modifier; nothing for a type that is not read.
std::optional<Wire_Type> wire_type(unsigned oid, int modifier);

/// Prints a binary value that is not NULL. `value` ends with a NUL beyond its length.
bool print_wire_value(int index, const Wire_Type& type, const Column& column, const char* value, std::size_t length,
                      const Column_Sink& sink);

/// The values of a statement's parameters. Texts and bytes are pointed to, not copied: the values must stay.
class Wire_Parameters
{
public:
    /// Who decides on the parameters' types.
    enum Types
    {
        BY_VALUE, ///< the values: integers are bigint, …; only texts and NULL adapt to what they are compared with
        BY_SERVER ///< the columns that they are inserted into
    };

    /// Begins anew.
    void clear(Types types);

    /// False when the value cannot be sent: a text that holds a NUL.
    bool add(const Binding_Value& value);

    int count() const { return static_cast<int>(values_.size()); }
    const unsigned* types() const { return types_.data(); }
    const char* const* values() const { return values_.data(); }
    const int* lengths() const { return lengths_.data(); }
    const int* formats() const { return formats_.data(); }

    /// One character per parameter: what a statement prepared for these types can be told by.
    const std::string& signature() const { return signature_; }

private:
    struct Adder;

    void push(unsigned type, char sign, const char* value, std::size_t length, bool binary);
    /// A copy that lives as long as the other values.
    const char* keep(std::string_view bytes);

    Types types_by_ = BY_VALUE;
    std::vector<unsigned> types_;
    std::vector<const char*> values_;
    std::vector<int> lengths_;
    std::vector<int> formats_;
    std::string signature_;
    std::deque<std::string> kept_; ///< of a deque the elements stay where they are
};

} // namespace database_detail
