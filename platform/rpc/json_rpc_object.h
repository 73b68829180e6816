// JSON-RPC 2.0 messages: notifications, requests, responses and error responses.
//
// A message is made once and then only read; it may then be shared between threads.
#pragma once

#include "platform/export.h"
#include "platform/json/value.h"

#include <ace/Recursive_Thread_Mutex.h>
#include <ace/Refcounted_Auto_Ptr.h>

#include <string>
#include <string_view>

class JSON_Generator;
class JSON_RPC_Object;

using JSON_RPC_Object_var = ACE_Refcounted_Auto_Ptr<JSON_RPC_Object, ACE_Recursive_Thread_Mutex>;

class BACKUP_PLATFORM_EXPORT JSON_RPC_Object
{
public:
    enum Type
    {
        TYPE_NONE = 0,
        TYPE_NOTIFY = 1,
        TYPE_REQUEST = 2,
        TYPE_RESPONSE = 3,
        TYPE_RESPONSE_ERROR = 4
    };

    /// Of type TYPE_NONE.
    JSON_RPC_Object() = default;

    static JSON_RPC_Object_var make_notify(std::string_view method, const json_spirit::Value& params);
    static JSON_RPC_Object_var make_request(std::string_view id, std::string_view method,
                                            const json_spirit::Value& params);

    /// The params are written by `params` straight into the message's text. Null when its `generate` returns false; its
    /// exceptions pass through.
    static JSON_RPC_Object_var make_request(std::string_view id, std::string_view method, JSON_Generator& params);

    static JSON_RPC_Object_var make_response(std::string_view id, json_spirit::Value result);
    static JSON_RPC_Object_var make_error(std::string_view id, int code, std::string_view message);

    /// Reads a message. Null, with the reason in `error`, when the text is no JSON-RPC 2.0 message.
    static JSON_RPC_Object_var parse(std::string_view text, std::string* error = nullptr);

    /// An id that is unique in the world: the text of a random UUID.
    static std::string new_id();

    Type type() const { return type_; }
    const std::string& id() const { return id_; } ///< empty where there is none
    const std::string& method() const { return method_; }
    json_spirit::Value params() const; ///< read from the text when a generator wrote it
    const json_spirit::Value& result() const { return result_; }
    json_spirit::Value& result() { return result_; }
    int error_code() const { return error_code_; }
    const std::string& error_message() const { return error_message_; }

    /// The message as it travels.
    const std::string& text() const { return text_; }

private:
    Type type_ = TYPE_NONE;
    std::string id_;
    std::string method_;
    json_spirit::Value result_;
    int error_code_ = 0;
    std::string error_message_;
    std::string text_;
};
