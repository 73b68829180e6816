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

Type_Reading open_type_reading(Session& session, const std::string& type_id, const std::string& uuid, Exit_Code& exit)
{
    Type_Reading reading;
    reading.type = find_set_type(type_id);
    if (selects_nothing(*reading.type)) {
        exit = tell_selects_nothing(session, *reading.type);
        return reading;
    }
    std::unique_ptr<Catalog_Store> store = session.open_catalog(exit);
    Error error;
    if (store == nullptr) {
        return reading;
    }
    if (!store->type_select(*reading.type, uuid, reading.sql, error)) {
        exit = session.tell(error);
        return reading;
    }
    if (reading.type->base_alias(reading.type->aliases) == nullptr) {
        session.diagnostics.note(reading_note(*reading.type));
    }
    reading.store = std::move(store);
    return reading;
}

Exit_Code finish_reading(Session& session, Type_Reading& reading, bool succeeded, const std::string& uuid,
                         std::size_t rows)
{
    if (!session.out.good()) {
        session.diagnostics.forget(); // the query was given up because its rows went nowhere
        return DONE;
    }
    if (!succeeded) {
        return session.tell(FAILED, "reading the catalog failed after " + count_of(rows, "set") + ": "
                                        + reading.store->connection().last_error().text());
    }
    if (rows == 0 && !uuid.empty()) {
        return session.tell(NOT_FOUND, std::string("no set of type \"") + reading.type->id + "\" has the UUID " + uuid);
    }
    return DONE;
}

} // namespace catalog::cli
