#include "catalog/cli/catalog_access.h"

#include "catalog/cli/address.h"
#include "catalog/cli/database_access.h"
#include "catalog/cli/server_access.h"
#include "catalog/cli/session.h"

#include <cerrno>
#include <fstream>
#include <system_error>

namespace catalog::cli {

namespace {

/// The first line of a file.
bool read_access_key(const std::string& name, std::string& key, std::string& fault)
{
    errno = 0;
    std::ifstream file(name, std::ios::binary);
    if (!std::getline(file, key)) {
        fault = "cannot read an access key from " + name;
        fault += errno != 0 ? ": " + std::generic_category().message(errno) : ": it is empty";
        return false;
    }
    key.erase(key.find_last_not_of(" \t\r") + 1);
    if (key.empty()) {
        fault = "the first line of " + name + " is no access key: it is empty";
    }
    return fault.empty();
}

/// Which of the two is meant. False, with the reason, when both are.
bool choose(const Session& session, const Server_Options& server, std::string& url, std::string& fault)
{
    if (!session.database.empty() && !server.url.empty()) {
        fault = "--database and --server exclude each other";
        return false;
    }
    url = server.url;
    if (url.empty() && session.database.empty()) {
        url = environment("BACKUP_SET_SERVER");
        if (!url.empty() && !environment("BACKUP_SET_DATABASE").empty()) {
            fault = "BACKUP_SET_DATABASE and BACKUP_SET_SERVER are both set: give --database or --server";
            return false;
        }
    }
    if (url.empty() && (!server.access_key_file.empty() || !server.authority_file.empty())) {
        fault = "--access-key-file and --server-authority go with a service only: give --server";
        return false;
    }
    return true;
}

} // namespace

void add_server_options(std::vector<Option>& options, Server_Options& server)
{
    options.push_back(
        {"--server", "URL",
         "Use the catalog behind this service instead of a database: http:// or https://HOST:PORT by REST, "
         "ws:// or wss://HOST:PORT by JSON-RPC; when not given, that of BACKUP_SET_SERVER",
         &server.url});
    Option key{"--access-key-file", "FILE", "With a service: a file whose first line is the access key",
               &server.access_key_file};
    key.kind = Option::FILE;
    options.push_back(key);
    Option authority{
        "--server-authority", "FILE",
        "With a service over TLS: the authorities that may have signed its certificate, PEM; when not given, "
        "those of the system",
        &server.authority_file};
    authority.kind = Option::FILE;
    options.push_back(authority);
}

std::unique_ptr<Catalog_Access> open_access(Session& session, const Server_Options& server, Exit_Code& exit)
{
    std::string url;
    std::string fault;
    if (!choose(session, server, url, fault)) {
        exit = session.tell(USAGE, fault);
        return nullptr;
    }
    if (url.empty()) {
        std::unique_ptr<Catalog_Store> store = session.open_catalog(exit);
        return store != nullptr ? open_database_access(std::move(store)) : nullptr;
    }
    Server_Url place;
    if (!read_server_url(url, place, fault)) {
        exit = session.tell(USAGE, fault);
        return nullptr;
    }
    if (!server.authority_file.empty() && !place.tls) {
        exit = session.tell(USAGE, "--server-authority goes with https:// and wss:// only");
        return nullptr;
    }
    std::string key;
    if (!server.access_key_file.empty() && !read_access_key(server.access_key_file, key, fault)) {
        exit = session.tell(FAILED, fault);
        return nullptr;
    }
    return open_server_access(session.diagnostics, place, key, server.authority_file);
}

} // namespace catalog::cli
