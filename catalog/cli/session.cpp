#include "catalog/cli/session.h"

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace catalog::cli {

namespace {

/// The folder for the catalog that is used when no other is named; empty when the environment tells of none.
std::filesystem::path default_folder()
{
    // A relative path does not count: it would name another folder in each working directory.
    const std::filesystem::path data = environment("XDG_DATA_HOME");
    if (data.is_absolute()) {
        return data / "backup-set";
    }
    const std::filesystem::path home = environment("HOME");
    return home.is_absolute() ? home / ".local" / "share" / "backup-set" : std::filesystem::path();
}

} // namespace

std::string environment(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string database_url(const std::string& given)
{
    if (!given.empty()) {
        return given;
    }
    std::string named = environment("BACKUP_SET_DATABASE");
    if (!named.empty()) {
        return named;
    }
    const std::filesystem::path folder = default_folder();
    return folder.empty() ? std::string() : "sqlite:" + (folder / "catalog.db").string();
}

std::string without_password(const std::string& url)
{
    std::string shown = url;
    const std::size_t authority = shown.find("://");
    if (authority != std::string::npos) {
        const std::size_t begin = authority + 3;
        const std::size_t at = shown.find('@', begin);
        const std::size_t colon = shown.find(':', begin);
        if (at != std::string::npos && at < shown.find('/', begin) && colon < at) {
            shown.replace(colon + 1, at - colon - 1, "***");
        }
    }
    const std::size_t question = shown.find('?');
    if (question != std::string::npos) {
        for (std::size_t at = question; at != std::string::npos; at = shown.find('&', at + 1)) {
            constexpr std::string_view key = "password=";
            if (shown.compare(at + 1, key.size(), key) == 0) {
                const std::size_t begin = at + 1 + key.size();
                shown.replace(begin, std::min(shown.find('&', begin), shown.size()) - begin, "***");
            }
        }
    }
    return shown;
}

Exit_Code exit_code(const Error& error)
{
    switch (error.kind) {
    case Error::NONE:
        return DONE;
    case Error::REFUSED:
    case Error::CONFLICT:
    case Error::STATE:
        return REFUSED;
    case Error::NOT_FOUND:
        return NOT_FOUND;
    case Error::SCHEMA:
    case Error::DATABASE:
        break;
    }
    return FAILED;
}

std::unique_ptr<Catalog_Store> Session::open_catalog(Exit_Code& exit, Catalog_Store::Schema_Policy policy)
{
    const std::string url = database_url(database);
    if (url.empty()) {
        exit = tell(USAGE, "no database is named: give --database URL, or set BACKUP_SET_DATABASE or HOME");
        return nullptr;
    }
    if (database.empty() && environment("BACKUP_SET_DATABASE").empty()) {
        std::error_code error;
        const std::filesystem::path folder = default_folder();
        std::filesystem::create_directories(folder, error);
        if (error) {
            exit = tell(FAILED, "cannot make the folder " + folder.string() + ": " + error.message());
            return nullptr;
        }
    }
    Error error;
    std::unique_ptr<Catalog_Store> store = Catalog_Store::open(url, policy, error);
    if (store == nullptr) {
        exit = tell(error, without_password(url));
    } else {
        diagnostics.forget(); // what was in the way and is no more
    }
    return store;
}

Exit_Code Session::tell(const Error& error, const std::string& context)
{
    std::string message = context.empty() ? "" : context + ": ";
    if (!error.key.empty() && error.message.find(error.key) == std::string::npos) {
        message += error.key + ": ";
    }
    message += error.message;
    if (error.database.kind == Database_Error::FULL) {
        message += "; there is no room for the database to grow"; // an engine may call that an I/O error
    }
    diagnostics.error(message);
    return exit_code(error);
}

Exit_Code Session::tell(Exit_Code exit, const std::string& message)
{
    diagnostics.error(message);
    return exit;
}

} // namespace catalog::cli
