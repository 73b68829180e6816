#include "catalog/cli/type_reading.h"

#include "catalog/cli/terminal_text.h"

namespace catalog::cli {

namespace {

std::string reading_note(const Set_Type& type)
{
    return std::string("the select of \"") + type.id + "\" reads only the table \"" + type.tables.front()
           + "\": what it gives lacks the common keys (name, host, times, sizes and so on); `backup-set show UUID` has all of a set";
}

} // namespace

Option type_argument(std::string& target)
{
    Option option{"TYPE", "", "The type's id; `backup-set types` lists them", &target};
    for (const Set_Type& type : set_types()) {
        option.choices.emplace_back(type.id);
    }
    option.required = true;
    return option;
}

Option one_set_option(std::string& target)
{
    Option option{"--uuid", "UUID", "Only this set, in any spelling of its UUID", &target};
    option.kind = Option::UUID;
    return option;
}

bool selects_nothing(const Set_Type& type)
{
    Select_SQL sql;
    type.init_select(sql, type.aliases);
    return sql.empty();
}

Exit_Code tell_selects_nothing(Session& session, const Set_Type& type)
{
    return session.tell(USAGE, std::string("the type \"") + type.id
                                   + "\" has no select: its sets are read with `backup-set show UUID`");
}

Exit_Code
print_sets(Session& session, const Server_Options& server, const std::string& type_id, const std::string& uuid,
           bool (Catalog_Access::*read)(const Set_Type&, const std::string&, const Catalog_Access::Take&, Error&))
{
    const Set_Type& type = *find_set_type(type_id);
    if (selects_nothing(type)) {
        return tell_selects_nothing(session, type);
    }
    Exit_Code exit = DONE;
    const std::unique_ptr<Catalog_Access> catalog = open_access(session, server, exit);
    if (catalog == nullptr) {
        return exit;
    }
    if (type.base_alias(type.aliases) == nullptr) {
        session.diagnostics.note(reading_note(type));
    }
    std::size_t count = 0;
    const auto take = [&](std::string_view json) {
        session.diagnostics.clear_progress();
        session.out.line(json);
        session.diagnostics.progress(count_of(++count, "set"));
        return session.out.good();
    };
    Error error;
    const bool succeeded = (*catalog.*read)(type, uuid, take, error);
    if (!session.out.good()) {
        session.diagnostics.forget(); // reading was given up because its rows went nowhere
        return DONE;
    }
    if (!succeeded) {
        return session.tell(FAILED,
                            "reading the catalog failed after " + count_of(count, "set") + ": " + error.message);
    }
    if (count == 0 && !uuid.empty()) {
        return session.tell(NOT_FOUND, "no set of type \"" + type_id + "\" has the UUID " + uuid);
    }
    return DONE;
}

} // namespace catalog::cli
