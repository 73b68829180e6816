// Loads any JSON object into an OpenStack record. Whatever was loaded, in whole or in part, must be written as valid JSON,
// and a record that was loaded twice has the pieces and storages of both.
#include "backup_set/common/openstack_backup_set.h"
#include "platform/json/json_generator.h"
#include "platform/json/value.h"

#include <ace/Log_Msg.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    ACE_Log_Msg::instance()->clr_flags(ACE_Log_Msg::STDERR); // refusals are logged
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    json_spirit::Value document;
    if (!json_spirit::read(std::string_view(reinterpret_cast<const char*>(data), size), document)
        || document.type() != json_spirit::obj_type)
    {
        return 0;
    }
    OpenStack_Backup_Set set;
    const bool loaded = set << document.get_obj();
    const std::size_t pieces = set.pieces.size();
    const std::size_t storages = set.storages.size();
    if (loaded
        && (pieces != document.get_obj().at("pieces").get_array().size()
            || storages != document.get_obj().at("storages").get_array().size()))
    {
        std::abort();
    }

    JSON_Text text;
    json_spirit::Value written;
    if (!set.generate(text.get()) || !json_spirit::read(text.view(), written)) {
        std::abort();
    }

    if ((set << document.get_obj()) != loaded || set.pieces.size() != 2 * pieces || set.storages.size() != 2 * storages)
    {
        std::abort();
    }
    return 0;
}
