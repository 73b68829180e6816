// The page on all kinds of sources: what of each is kept where, and how it comes back.
#pragma once

#include <functional>
#include <string>

namespace catalog {

/// The types as Markdown, from the registry. `sample` gives a document of a type (by its id) that holds every key which
/// the type may write: the typed keys are those behind the common ones.
std::string describe_sources(const std::function<std::string(const std::string& id)>& sample);

} // namespace catalog
