// Views of the catalog: what `select` answers.
//
// A view is read part by part, so that a result of any size takes bounded memory and a reader who stalls keeps no thread
// and no connection. Between two parts a view belongs to nobody; its parts may be read by different threads from
// different stores of the same catalog, one after the other. It holds no cursor, only the key of where it goes on.
//
// What one part shows was there at one moment; the next part sees what has been committed since. Rows that are added or
// deleted meanwhile neither shift nor double the others. Where the parts have to fit together (a set's document, its
// pieces, its storages) and the set has changed or vanished between two of them, the rest fails. A set's document of up
// to `View_Limits::document` bytes comes in one part.
//
// A result is {"rows":[…]}; where more rows follow than were asked for, "next" stands behind them: the value to give as
// "after".
#pragma once

#include "catalog/schema/set_type.h"
#include "catalog/store/catalog_store.h"
#include "platform/json/value.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace catalog::service {

class View
{
public:
    virtual ~View() = default;

    /// Appends the next part of the result's JSON text to `text`, at least one byte and seldom more than
    /// `View_Limits::part`. Once it has been false nothing more can be read; an error before the first part has appended
    /// nothing.
    virtual bool read(Catalog_Store& store, std::string& text, Error& error) = 0;

    /// True when the last part has been read.
    virtual bool at_end() const = 0;
};

/// How much is read at once.
struct View_Limits
{
    std::size_t part = std::size_t{256} << 10;   ///< bytes after which a part ends
    std::size_t document = std::size_t{4} << 20; ///< the same for the first part of a set's document
    std::size_t chain_sets = 10000;              ///< sets that a chain may have; ten times as many dependencies
};

/// The view of a module with its parameters; a parameter's value may be given as its text; null and the empty text are no
/// value. REFUSED (null), with all that exists named in the message and the culprit in `key` ("module", "view", or the
/// parameter's name), when the module, the view or a parameter is unknown or has a value that it cannot have.
std::unique_ptr<View> open_view(std::string_view module, std::string_view view, const json_spirit::Object& parameters,
                                Error& error, const View_Limits& limits = {});

/// The bare document of a committed set.
std::unique_ptr<View> open_document(std::string_view uuid, Error& error, const View_Limits& limits = {});

enum class Parameter_Kind
{
    TEXT,
    UUID,  ///< in any spelling
    TIME,  ///< "YYYY-MM-DD HH:MM:SS" in UTC, or a day; an offset may follow
    COUNT, ///< 1 or more
    TYPE,  ///< a set type's id
    STATE, ///< the name of a copy's state
    LIFE,  ///< "committed", "open", "complete", or "any"
    FORM,  ///< "object" or "text"
    KEY    ///< "next" of the page before
};

struct View_Parameter
{
    const char* name;
    Parameter_Kind kind;
    const char* meaning; ///< for people, one line
    bool required = false;
    std::uint64_t usual = 0; ///< of a COUNT that is not given; 0: no limit
    std::uint64_t most = 0;  ///< of a COUNT; 0: any
};

class View_Arguments;

struct View_Description
{
    const char* module; ///< "backup_set", or a type's id
    const char* name;
    const char* purpose; ///< for people
    std::span<const View_Parameter> parameters;
    const Set_Type* type; ///< whose rows it gives, where the module is a type; else null

    std::unique_ptr<View> (*open)(const View_Description& view, const View_Arguments& arguments,
                                  const View_Limits& limits, Error& error);
};

/// All views, those of one module side by side. A type whose select reads nothing has none.
std::span<const View_Description> view_descriptions();

} // namespace catalog::service
