// Views of the catalog: what `select` answers.
//
// A view is read part by part, so that a result of any size takes bounded memory and a reader who stalls keeps no thread
// and no connection. Between two parts a view belongs to nobody; its parts may be read by different threads from
// different stores of the same catalog, one after the other.
#pragma once

#include "catalog/store/catalog_store.h"
#include "platform/json/value.h"

#include <memory>
#include <string>
#include <string_view>

namespace catalog::service {

class View
{
public:
    virtual ~View() = default;

    /// Appends the next part of the result's JSON text to `text`, at least one byte and seldom more than 256 KiB. Once it
    /// has been false nothing more can be read; an error before the first part has appended nothing.
    virtual bool read(Catalog_Store& store, std::string& text, Error& error) = 0;

    /// True when the last part has been read.
    virtual bool at_end() const = 0;
};

/// The view of a module with its parameters; a parameter's value may be given as its text. REFUSED (null), with all that
/// exists named in the message and the culprit in `key`, when the module, the view or a parameter is unknown or has a
/// value that it cannot have.
std::unique_ptr<View> open_view(std::string_view module, std::string_view view, const json_spirit::Object& parameters,
                                Error& error);

/// The bare document of a committed set.
std::unique_ptr<View> open_document(std::string_view uuid, Error& error);

} // namespace catalog::service
