// Who and where the agent is: uuids, the host's operating system and distribution.
#pragma once

#include "platform/json/value.h"
#include "platform/text/uuid.h"

#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/utsname.h>

inline std::string new_uuid()
{
    return to_string(boost::uuids::random_generator()());
}

/// The same uuid for the same name on every run, so that a catalog recognises hosts and directories.
inline std::string uuid_of(const std::string& name)
{
    return to_string(boost::uuids::name_generator_sha1(boost::uuids::ns::url())(name));
}

/// A uuid in any spelling as lower-case text. Throws std::runtime_error when it is none.
inline std::string usual_uuid(const std::string& spelling)
{
    const std::optional<UUID_Bytes> uuid = read_uuid(spelling);
    if (!uuid) {
        throw std::runtime_error("'" + spelling + "' is no UUID");
    }
    return uuid_text(*uuid);
}

/// The first line of a file; empty when there is none.
inline std::string first_line(const std::filesystem::path& path)
{
    std::string line;
    std::ifstream file(path);
    std::getline(file, line);
    return line;
}

/// What uname(2) says.
inline json_spirit::Object operating_system()
{
    utsname names{};
    if (::uname(&names) != 0) {
        throw std::runtime_error(std::strerror(errno));
    }
    return {{"sysname", names.sysname},
            {"nodename", names.nodename},
            {"release", names.release},
            {"version", names.version},
            {"machine", names.machine}};
}

/// What /etc/os-release says, under the names that lsb_release has for it.
inline json_spirit::Object distribution()
{
    const std::map<std::string, const char*> wanted = {{"ID", "distributor_id"},
                                                       {"PRETTY_NAME", "description"},
                                                       {"VERSION_ID", "release"},
                                                       {"VERSION_CODENAME", "codename"}};
    json_spirit::Object lsb;
    std::ifstream file("/etc/os-release");
    for (std::string line; std::getline(file, line);) {
        const std::size_t equals = line.find('=');
        const auto key = wanted.find(line.substr(0, equals));
        if (equals != std::string::npos && key != wanted.end()) {
            std::string value = line.substr(equals + 1);
            std::erase(value, '"');
            lsb[key->second] = value;
        }
    }
    return lsb;
}
