#include "catalog/service/view.h"

#include "catalog/service/view_arguments.h"
#include "catalog/service/view_families.h"
#include "catalog/store/refusal.h"

#include <vector>

namespace catalog::service {
namespace {

using enum Parameter_Kind;

constexpr View_Parameter after{"after", KEY, "go on behind the page that gave this as \"next\""};
constexpr View_Parameter page_limit{
    .name = "limit", .kind = COUNT, .meaning = "rows of a page", .usual = 100, .most = 1000};
constexpr View_Parameter limit{"limit", COUNT, "rows of a page; all when not given"};
constexpr View_Parameter one_set{"uuid", UUID, "the set", true};

constexpr View_Parameter form{
    "form", FORM,
    "text: rows are {\"uuid\": ..., \"text\": the row's JSON text}, for those to whom the order of keys and repeated ones "
    "matter; object when not given"};

constexpr View_Parameter sets_parameters[] = {
    {"uuid", UUID, "only this set"},
    {"type", TYPE, "only sets of this type"},
    {"host", TEXT, "only sets of this host, by its name or its uuid"},
    {"resource", UUID, "only sets of this resource"},
    {"minor_resource", TEXT, "only sets of this minor resource, by its id"},
    {"state", STATE, "only sets with a copy in this state"},
    {"since", TIME, "only sets started at this time or later"},
    {"until", TIME, "only sets started before this time"},
    {"life", LIFE,
     "how far the sets have come; those that are not committed have none of the other columns, and of the filters they "
     "take `type` alone; committed ones when not given"},
    page_limit,
    after,
};
constexpr View_Parameter set_parameters[] = {one_set, form};
constexpr View_Parameter latest_parameters[] = {
    {"resource", UUID, "the resource", true},
    {"type", TYPE, "only sets of this type"},
    form,
};
constexpr View_Parameter chain_parameters[] = {one_set};
constexpr View_Parameter storages_parameters[] = {one_set};
constexpr View_Parameter pieces_parameters[] = {one_set, limit, after};
constexpr View_Parameter pool_parameters[] = {{"pool", UUID, "the pool", true}, page_limit, after};
constexpr View_Parameter type_parameters[] = {{"uuid", UUID, "only this set"}, limit, after, form};

constexpr View_Description backup_set_views[] = {
    {"backup_set", "sets", "The committed sets, newest first, as `backup-set list --format json` shows them.",
     sets_parameters, nullptr, open_sets},
    {"backup_set", "set", "One set: its whole document, pieces included.", set_parameters, nullptr, open_set},
    {"backup_set", "latest",
     "The newest set of a resource, by its `backup_end_time`, then its `backup_start_time`, then its uuid: its whole "
     "document. Sets without an end come behind those with one. No row when the resource has no set.",
     latest_parameters, nullptr, open_latest},
    {"backup_set", "chain",
     "A set and all that it depends on, each behind those that it depends on itself: rows as those of `sets`, with "
     "`parents`. `missing` names parents that the catalog does not have; `cycles` the sets of each circle of "
     "dependencies.",
     chain_parameters, nullptr, open_chain},
    {"backup_set", "storages", "The copies of a set, as its document has them.", storages_parameters, nullptr,
     open_storages},
    {"backup_set", "pieces", "The pieces of a set, as its document has them.", pieces_parameters, nullptr, open_pieces},
    {"backup_set", "pool",
     "All copies in a pool, those of the newest sets first: as documents have them, each with its set.",
     pool_parameters, nullptr, open_pool},
};

const std::vector<View_Description>& all_views()
{
    static const std::vector<View_Description> views = [] {
        std::vector<View_Description> all(std::begin(backup_set_views), std::end(backup_set_views));
        for (const Set_Type& type : set_types()) {
            Select_SQL sql;
            type.init_select(sql, type.aliases);
            if (!sql.empty()) {
                all.push_back({type.id, "sets",
                               "The sets of the type by its own select, newest first, with their storages and pieces.",
                               type_parameters, &type, open_type_sets});
                all.push_back(
                    {type.id, "records",
                     "The sets of the type as their records write them once they are loaded by that select, newest "
                     "first: without what is no column of it, which is the pieces, storages and parents.",
                     type_parameters, &type, open_type_records});
            }
        }
        return all;
    }();
    return views;
}

std::string module_names()
{
    std::string names;
    const char* last = "";
    for (const View_Description& view : all_views()) {
        if (std::string_view(view.module) != last) {
            names += (names.empty() ? "" : ", ") + std::string(view.module);
            last = view.module;
        }
    }
    return names;
}

std::string view_names(std::string_view module)
{
    std::string names;
    for (const View_Description& view : all_views()) {
        if (view.module == module) {
            names += (names.empty() ? "" : ", ") + std::string(view.name);
        }
    }
    return names;
}

} // namespace

std::unique_ptr<View> open_view(std::string_view module, std::string_view view, const json_spirit::Object& parameters,
                                Error& error, const View_Limits& limits)
{
    error = {};
    for (const View_Description& known : all_views()) {
        if (known.module == module && known.name == view) {
            View_Arguments arguments;
            return arguments.take(known, parameters, error) ? known.open(known, arguments, limits, error) : nullptr;
        }
    }
    if (const std::string views = view_names(module); !views.empty()) {
        refuse(error, "view", "unknown view " + shown(view) + "; module " + std::string(module) + " has: " + views);
    } else if (find_set_type(module) != nullptr) {
        refuse(error, "module",
               "module " + std::string(module)
                   + " has no views, for the type has no select: its sets come by module backup_set, view set");
    } else {
        refuse(error, "module", "unknown module " + shown(module) + "; there are: " + module_names());
    }
    return nullptr;
}

std::span<const View_Description> view_descriptions()
{
    return all_views();
}

Opened_View refuse_key(Error& error, const View_Arguments& arguments)
{
    refuse(error, "after",
           "\"after\" is " + shown(arguments.text("after"))
               + ", which is no key of a page: a page gives one as \"next\"");
    return nullptr;
}

} // namespace catalog::service
