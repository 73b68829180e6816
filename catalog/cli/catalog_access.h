// The catalog as the commands that record and read sets use it: in a database, or behind a service.
//
// Both give the same, byte for byte. An object belongs to one thread. Failures come as `Error`; one of the kind DATABASE
// is whatever kept the catalog from answering.
#pragma once

#include "catalog/cli/command.h"
#include "catalog/cli/exit_code.h"
#include "catalog/schema/set_type.h"
#include "catalog/store/catalog_store.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace catalog::cli {

class Session;

class Catalog_Access
{
public:
    /// Takes one JSON text after the other; false: no more are wanted.
    using Take = std::function<bool(std::string_view)>;

    virtual ~Catalog_Access() = default;

    /// Records documents; once the catalog has failed for one of them, none behind it is recorded.
    virtual std::vector<Record_Result> record(std::span<const std::string> documents) = 0;

    /// How many documents are best given to `record` at once.
    virtual std::size_t documents_at_once() const = 0;

    /// The document of a set, as it was recorded.
    virtual bool document(const std::string& uuid, std::string& document, Error& error) = 0;

    virtual bool list(const Set_Filter& filter, std::size_t limit, const std::string& after, Set_Page& page,
                      Error& error) = 0;

    // The sets of a type, or the one of them with a uuid unless that is empty: as the type's select gives them, or as
    // their records write them. False also when `take` wanted no more.
    virtual bool rows(const Set_Type& type, const std::string& uuid, const Take& take, Error& error) = 0;
    virtual bool records(const Set_Type& type, const std::string& uuid, const Take& take, Error& error) = 0;
};

/// Which service a command is to use; nothing: none, unless the environment names one.
struct Server_Options
{
    std::string url;
    std::string access_key_file;
    std::string authority_file;
};

/// Adds the options of those who use a catalog in either place.
void add_server_options(std::vector<Option>& options, Server_Options& server);

/// Opens the database or the service that the command line or the environment names. Null on failure, which has been
/// told; `exit` gets the exit code.
std::unique_ptr<Catalog_Access> open_access(Session& session, const Server_Options& server, Exit_Code& exit);

} // namespace catalog::cli
