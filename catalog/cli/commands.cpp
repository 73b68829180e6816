#include "catalog/cli/command.h"

namespace catalog::cli {

std::vector<std::unique_ptr<Command>> make_commands()
{
    std::vector<std::unique_ptr<Command>> commands;
    for (const auto make :
         {make_types_command, make_template_command, make_select_sql_command, make_record_command, make_list_command,
          make_show_command, make_load_command, make_rows_command, make_choose_copy_command, make_queue_command,
          make_schema_command, make_serve_command, make_access_key_command})
    {
        commands.push_back(make());
    }
    return commands;
}

} // namespace catalog::cli
