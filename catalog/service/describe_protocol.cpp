#include "catalog/service/describe_protocol.h"

#include "catalog/service/access_keys.h"
#include "catalog/service/fault.h"
#include "catalog/service/rest_front.h"
#include "catalog/service/rpc_front.h"
#include "catalog/service/view.h"

#include <initializer_list>
#include <string_view>

namespace catalog::service {
namespace {

std::string code(std::string_view text)
{
    return '`' + std::string(text) + '`';
}

void add_row(std::string& page, std::initializer_list<std::string> cells)
{
    for (const std::string& cell : cells) {
        page += "| " + cell + ' ';
    }
    page += "|\n";
}

std::string role(Role needed)
{
    return needed == Role::NONE ? "none" : role_name(needed);
}

void add_paths(std::string& page)
{
    page += "### Paths\n\n| method | path | role | what it does |\n|---|---|---|---|\n";
    for (const REST_Path& path : rest_paths()) {
        add_row(page, {path.method, code(path.path), role(path.role), path.summary});
    }
}

void add_methods(std::string& page)
{
    page += "\n### Methods\n\n| method | params | result | role |\n|---|---|---|---|\n";
    for (const RPC_Method& method : rpc_methods()) {
        add_row(page, {code(method.name), method.params, method.result, role(method.role)});
    }
}

void add_errors(std::string& page)
{
    page += "\n### Errors\n\n| name | JSON-RPC code | HTTP status | meaning |\n|---|---|---|---|\n";
    for (const Fault_Code& fault : fault_codes()) {
        add_row(page, {code(fault.name), std::to_string(fault.rpc_code), std::to_string(fault.status), fault.meaning});
    }
}

void add_views(std::string& page)
{
    page += "\n### Views\n";
    std::string types;
    const Set_Type* first = nullptr;
    const Set_Type* last = nullptr;
    for (const View_Description& view : view_descriptions()) {
        if (view.type != last) {
            types += (types.empty() ? "" : ", ") + code(view.module);
            first = first != nullptr ? first : view.type;
            last = view.type;
        }
    }
    for (const View_Description& view : view_descriptions()) {
        if (view.type != nullptr && view.type != first) {
            continue; // they are alike
        }
        page += "\n#### " + std::string(view.type != nullptr ? "a type's id" : view.module) + ", " + view.name + "\n\n"
                + view.purpose + '\n';
        if (view.type != nullptr) {
            page += "The types are " + types + ".\n";
        }
        page += "\n| parameter | needed | what it is |\n|---|---|---|\n";
        for (const View_Parameter& parameter : view.parameters) {
            std::string meaning = parameter.meaning;
            if (parameter.usual != 0) {
                meaning += "; " + std::to_string(parameter.usual) + " when not given";
            }
            if (parameter.most != 0) {
                meaning += "; at most " + std::to_string(parameter.most);
            }
            add_row(page, {code(parameter.name), parameter.required ? "yes" : "no", meaning});
        }
    }
}

} // namespace

std::string describe_protocol()
{
    std::string page;
    add_paths(page);
    add_methods(page);
    add_errors(page);
    add_views(page);
    return page;
}

} // namespace catalog::service
