#include "catalog/service/openapi.h"

#include "catalog/service/access_keys.h"
#include "catalog/service/fault.h"
#include "catalog/service/rest_front.h"
#include "catalog/service/rpc_front.h"
#include "catalog/service/view.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <vector>

namespace catalog::service {

namespace {

constexpr const char* api_version = "2.0.0"; ///< of the paths and the methods, not of the program
constexpr const char* json_media = "application/json";

std::string lower(std::string text)
{
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

const char* media_of(REST_Content content)
{
    return content == REST_Content::METRICS ? "text/plain" : json_media;
}

const char* schema_of(REST_Content content)
{
    switch (content) {
    case REST_Content::SET:
        return "Set";
    case REST_Content::SET_PART:
        return "SetPart";
    case REST_Content::DONE:
        return "Done";
    case REST_Content::VIEW:
        return "ViewResult";
    case REST_Content::RPC:
        return "JsonRpc";
    case REST_Content::HEALTH:
        return "Health";
    case REST_Content::OPENAPI:
        return "AnyObject";
    case REST_Content::METRICS:
    case REST_Content::NOTHING:
        break;
    }
    return "Text";
}

const char* kind_meaning(Parameter_Kind kind)
{
    switch (kind) {
    case Parameter_Kind::UUID:
        return "a UUID";
    case Parameter_Kind::TIME:
        return "a time, YYYY-MM-DD HH:MM:SS in UTC";
    case Parameter_Kind::COUNT:
        return "a number from 1";
    case Parameter_Kind::TYPE:
        return "a set type's id";
    case Parameter_Kind::STATE:
        return "the name of a copy's state";
    case Parameter_Kind::KEY:
        return "\"next\" of the page before";
    case Parameter_Kind::LIFE:
        return "\"committed\", \"open\", \"complete\" or \"any\"";
    case Parameter_Kind::FORM:
        return "\"object\" or \"text\"";
    case Parameter_Kind::TEXT:
        break;
    }
    return "a text";
}

/// Writes the description.
class Writer
{
public:
    std::string write()
    {
        {
            const YAJL_Map_Guard all(gen_);
            gen_ << "openapi"_key
                 << "3.0.3"
                 << "info"_key;
            write_info();
            gen_ << "paths"_key;
            write_paths();
            gen_ << "components"_key;
            write_components();
            gen_ << "security"_key;
            const YAJL_Array_Guard security(gen_);
            write_security("accessKey");
            write_security("bearer");
        }
        return text_.take();
    }

private:
    void write_security(const char* scheme)
    {
        const YAJL_Map_Guard one(gen_);
        gen_ << scheme;
        const YAJL_Array_Guard scopes(gen_);
    }

    void write_info()
    {
        const YAJL_Map_Guard info(gen_);
        gen_ << "title"_key
             << "Catalog of backup sets"
             << "version"_key << api_version << "description"_key
             << "Records backup sets and gives views of them, over REST, and over JSON-RPC 2.0 at /rpc (POST for one "
                "call, WebSocket for many on one connection).";
    }

    void write_paths()
    {
        std::map<std::string, std::vector<const REST_Path*>> by_path;
        for (const REST_Path& path : rest_paths()) {
            by_path[path.path].push_back(&path);
        }
        const YAJL_Map_Guard paths(gen_);
        for (const auto& [name, operations] : by_path) {
            gen_ << name;
            const YAJL_Map_Guard methods(gen_);
            for (const REST_Path* const operation : operations) {
                gen_ << lower(operation->method);
                write_operation(*operation);
            }
        }
    }

    void write_operation(const REST_Path& path)
    {
        const YAJL_Map_Guard operation(gen_);
        gen_ << "operationId"_key << path.id << "summary"_key << path.summary << "description"_key
             << description_of(path) << "parameters"_key;
        {
            const YAJL_Array_Guard parameters(gen_);
            for (const REST_Parameter& parameter : path.parameters) {
                write_parameter(parameter);
            }
            if (path.answer == REST_Content::VIEW) {
                write_view_parameters();
            }
        }
        if (path.body != REST_Content::NOTHING) {
            gen_ << "requestBody"_key;
            const YAJL_Map_Guard body(gen_);
            gen_ << "required"_key << true << "content"_key;
            write_content(path.body);
        }
        gen_ << "responses"_key;
        const YAJL_Map_Guard responses(gen_);
        gen_ << "200"_key;
        {
            const YAJL_Map_Guard response(gen_);
            gen_ << "description"_key
                 << "done"
                 << "content"_key;
            write_content(path.answer);
        }
        if (path.answer == REST_Content::DONE && path.body == REST_Content::SET_PART) {
            gen_ << "202"_key;
            const YAJL_Map_Guard response(gen_);
            gen_ << "description"_key
                 << "the commit is in the queue and will be applied"
                 << "content"_key;
            write_content(path.answer);
        }
        gen_ << "default"_key;
        const YAJL_Map_Guard otherwise(gen_);
        gen_ << "$ref"_key
             << "#/components/responses/Error";
    }

    static std::string description_of(const REST_Path& path)
    {
        std::string text = path.role == Role::NONE ? std::string("Needs no access key.")
                                                   : std::string("Needs the role ") + role_name(path.role)
                                                         + (path.role == Role::OPERATOR ? "." : " or above.");
        if (path.answer == REST_Content::VIEW) {
            text += " The views:";
            for (const View_Description& view : view_descriptions()) {
                if (view.type == nullptr) {
                    text += std::string("\n- ") + view.module + " " + view.name + ": " + view.purpose;
                }
            }
            text += "\n- a type's id as module, view sets: the type's own columns.";
        } else if (path.body == REST_Content::RPC) {
            text += " The methods:";
            for (const RPC_Method& method : rpc_methods()) {
                text += std::string("\n- ") + method.name + ": params " + method.params + ", result " + method.result
                        + ", role " + role_name(method.role) + " or above";
            }
        }
        return text;
    }

    void write_parameter(const REST_Parameter& parameter)
    {
        const YAJL_Map_Guard map(gen_);
        gen_ << "name"_key << parameter.name << "in"_key << parameter.in << "required"_key << parameter.required
             << "description"_key << parameter.meaning << "schema"_key;
        const YAJL_Map_Guard schema(gen_);
        gen_ << "type"_key
             << "string";
        if (!parameter.choices.empty()) {
            gen_ << "enum"_key;
            const YAJL_Array_Guard choices(gen_);
            for (const char* const choice : parameter.choices) {
                gen_ << choice;
            }
        }
    }

    /// The parameters of all views, each once, with the views that take it.
    void write_view_parameters()
    {
        struct Use
        {
            const View_Parameter* parameter;
            std::string views;
        };
        std::vector<Use> uses;
        for (const View_Description& view : view_descriptions()) {
            const std::string name = view.type != nullptr ? "types" : view.name;
            for (const View_Parameter& parameter : view.parameters) {
                const auto place = std::ranges::find_if(
                    uses, [&](const Use& use) { return std::string_view(use.parameter->name) == parameter.name; });
                if (place == uses.end()) {
                    uses.push_back({&parameter, name});
                } else if (!place->views.ends_with(name)) {
                    place->views += ", " + name;
                }
            }
        }
        for (const Use& use : uses) {
            const YAJL_Map_Guard map(gen_);
            gen_ << "name"_key << use.parameter->name << "in"_key
                 << "query"
                 << "required"_key << false << "description"_key
                 << std::string(use.parameter->meaning) + ": " + kind_meaning(use.parameter->kind) + " (" + use.views
                        + ")"
                 << "schema"_key;
            const YAJL_Map_Guard schema(gen_);
            const bool is_count = use.parameter->kind == Parameter_Kind::COUNT;
            gen_ << "type"_key << (is_count ? "integer" : "string");
        }
    }

    void write_content(REST_Content content)
    {
        const YAJL_Map_Guard map(gen_);
        gen_ << media_of(content);
        const YAJL_Map_Guard media(gen_);
        gen_ << "schema"_key;
        write_reference(schema_of(content));
    }

    void write_reference(const char* schema)
    {
        const YAJL_Map_Guard map(gen_);
        gen_ << "$ref"_key << std::string("#/components/schemas/") + schema;
    }

    void write_type(const char* type, const char* description = nullptr)
    {
        const YAJL_Map_Guard map(gen_);
        gen_ << "type"_key << type;
        if (description != nullptr) {
            gen_ << "description"_key << description;
        }
    }

    void write_components()
    {
        const YAJL_Map_Guard components(gen_);
        gen_ << "securitySchemes"_key;
        {
            const YAJL_Map_Guard schemes(gen_);
            gen_ << "accessKey"_key;
            {
                const YAJL_Map_Guard scheme(gen_);
                gen_ << "type"_key
                     << "apiKey"
                     << "in"_key
                     << "header"
                     << "name"_key
                     << "X-Access-Key";
            }
            gen_ << "bearer"_key;
            const YAJL_Map_Guard scheme(gen_);
            gen_ << "type"_key
                 << "http"
                 << "scheme"_key
                 << "bearer";
        }
        gen_ << "responses"_key;
        {
            const YAJL_Map_Guard responses(gen_);
            gen_ << "Error"_key;
            const YAJL_Map_Guard error(gen_);
            gen_ << "description"_key << fault_list() << "content"_key;
            const YAJL_Map_Guard content(gen_);
            gen_ << json_media;
            const YAJL_Map_Guard media(gen_);
            gen_ << "schema"_key;
            write_reference("Error");
        }
        gen_ << "schemas"_key;
        const YAJL_Map_Guard schemas(gen_);
        gen_ << "Text"_key;
        write_type("string");
        gen_ << "AnyObject"_key;
        write_type("object");
        gen_ << "Set"_key;
        write_type("object", "the document of a set, as its record writes it; \"uuid\" names the set");
        gen_ << "SetPart"_key;
        write_type("object", "the set's document; {\"uuid\", \"pieces\"} for AddPiece; {\"uuid\"} for Abort");
        gen_ << "JsonRpc"_key;
        write_type("object", "a JSON-RPC 2.0 request or response");
        write_object("Health", {{"status", "string"}});
        write_object("Done", {{"result", "boolean"}, {"uuid", "string"}, {"queued", "boolean"}});
        gen_ << "ViewResult"_key;
        {
            const YAJL_Map_Guard map(gen_);
            gen_ << "type"_key
                 << "object"
                 << "properties"_key;
            const YAJL_Map_Guard properties(gen_);
            gen_ << "rows"_key;
            {
                const YAJL_Map_Guard rows(gen_);
                gen_ << "type"_key
                     << "array"
                     << "items"_key;
                write_reference("AnyObject");
            }
            gen_ << "next"_key;
            write_type("string", "the key of the next page, where there is one");
        }
        gen_ << "Error"_key;
        const YAJL_Map_Guard error(gen_);
        gen_ << "type"_key
             << "object"
             << "properties"_key;
        const YAJL_Map_Guard properties(gen_);
        gen_ << "code"_key;
        {
            const YAJL_Map_Guard code(gen_);
            gen_ << "type"_key
                 << "string"
                 << "enum"_key;
            const YAJL_Array_Guard names(gen_);
            for (const Fault_Code& fault : fault_codes()) {
                gen_ << fault.name;
            }
        }
        gen_ << "message"_key;
        write_type("string");
        gen_ << "key"_key;
        write_type("string", "the document's key or the parameter at fault");
    }

    void write_object(const char* name, std::initializer_list<std::pair<const char*, const char*>> members)
    {
        gen_ << name;
        const YAJL_Map_Guard map(gen_);
        gen_ << "type"_key
             << "object"
             << "properties"_key;
        const YAJL_Map_Guard properties(gen_);
        for (const auto& [member, type] : members) {
            gen_ << member;
            write_type(type);
        }
    }

    static std::string fault_list()
    {
        std::string text = "not done; the codes and their statuses:";
        for (const Fault_Code& fault : fault_codes()) {
            text += std::string("\n- ") + fault.name + " (" + std::to_string(fault.status) + ", JSON-RPC "
                    + std::to_string(fault.rpc_code) + "): " + fault.meaning;
        }
        return text;
    }

    JSON_Text text_;
    YAJL_Gen gen_{text_.get()};
};

} // namespace

const std::string& openapi_description()
{
    static const std::string text = Writer().write();
    return text;
}

} // namespace catalog::service
