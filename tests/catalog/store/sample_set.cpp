#include "tests/catalog/store/sample_set.h"

#include "catalog/schema/set_type.h"
#include "platform/text/posix_time.h"

#include <cstdio>
#include <stdexcept>

namespace sample_set {

namespace {

std::string numbered_uuid(unsigned group, int number)
{
    char text[37];
    std::snprintf(text, sizeof text, "%08x-0000-4000-8000-%012x", group, static_cast<unsigned>(number));
    return text;
}

} // namespace

std::string sample_uuid(int number)
{
    return numbered_uuid(0xa1, number);
}

std::string pool_uuid(int index)
{
    return numbered_uuid(0xb2, index);
}

std::string document(const Sample& sample)
{
    const std::unique_ptr<Backup_Set> set = catalog::find_set_type(sample.type)->make();
    set->uuid = sample_uuid(sample.number);
    set->name = sample.name;
    set->host = sample.host;
    set->host_uuid = numbered_uuid(0xc3, 1);
    set->resource_uuid = numbered_uuid(0xd4, 1);
    set->agent = sample.type;
    set->type = "full";
    if (!iso8601_to_posix_time(sample.start, set->backup_start_time)) {
        throw std::invalid_argument(sample.start);
    }
    set->backup_end_time = set->backup_start_time + 600;
    set->size = 5000 + sample.number;
    set->source_size = 70000 + sample.number;
    for (int i = 0; i < sample.storages; ++i) {
        Backup_Set_Storage storage;
        storage.pool_uuid = pool_uuid(i);
        storage.size = set->size;
        storage.state = i == 0 ? Backup_Set_State::ONLINE_BIT : Backup_Set_State::ONLINE_REPLICATED;
        storage.upstream_pool_uuid = i == 0 ? "" : pool_uuid(0);
        set->add_storage(storage);
    }
    for (int i = 0; i < sample.pieces; ++i) {
        Backup_Piece piece;
        piece.path = "/data/file" + std::to_string(i);
        piece.object = "set" + std::to_string(sample.number) + "/piece" + std::to_string(i);
        piece.size = static_cast<ACE_UINT64>(1000 + i);
        set->add_piece(piece);
    }
    std::string text = to_json(*set);
    return text.insert(text.size() - 1, sample.extra);
}

std::string document(int number)
{
    Sample sample;
    sample.number = number;
    return document(sample);
}

std::string documents(int first, int count)
{
    std::string text;
    for (int number = first; number < first + count; ++number) {
        text += document(number) + "\n";
    }
    return text;
}

} // namespace sample_set
