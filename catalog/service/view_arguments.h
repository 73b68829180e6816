// The parameters of a view, as they were given: checked against the view's description.
#pragma once

#include "catalog/service/view.h"
#include "platform/text/uuid.h"

#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace catalog::service {

class View_Arguments
{
public:
    /// False (REFUSED) when a parameter is unknown, missing, or has a value that it cannot have.
    bool take(const View_Description& view, const json_spirit::Object& parameters, Error& error);

    // The value of a parameter that the view has; what was not given is empty.
    std::string text(std::string_view name) const;
    std::optional<UUID_Bytes> uuid(std::string_view name) const;
    std::optional<std::time_t> time(std::string_view name) const;

    /// The value, or the usual one; 0: no limit.
    std::uint64_t count(std::string_view name) const;

private:
    std::map<std::string, std::string, std::less<>> texts_;
    std::map<std::string, std::uint64_t, std::less<>> usual_counts_;
};

} // namespace catalog::service
