// JSON-RPC 2.0 messages: notifications, requests, responses and error responses.
//
// A message is made once and then only read; it may then be shared between threads. The text of a message that was made
// here holds secrets in clear, and is wiped when nobody needs it any more.
#pragma once

#include "platform/export.h"
#include "platform/json/value.h"

#include <ace/Recursive_Thread_Mutex.h>
#include <ace/Refcounted_Auto_Ptr.h>

#include <memory>
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

    // Params that are null are left out. These return null when the value cannot be written (a real that is not finite).
    static JSON_RPC_Object_var make_notify(std::string_view method, const json_spirit::Value& params);
    static JSON_RPC_Object_var make_request(std::string_view id, std::string_view method,
                                            const json_spirit::Value& params);
    static JSON_RPC_Object_var make_response(std::string_view id, json_spirit::Value result);

    /// The params are written by `params` straight into the message's text. Null when its `generate` returns false or
    /// leaves a map or an array open; its exceptions pass through.
    static JSON_RPC_Object_var make_request(std::string_view id, std::string_view method, JSON_Generator& params);

    /// An empty `id` is written as null: the request could not be read.
    static JSON_RPC_Object_var make_error(std::string_view id, int code, std::string_view message);

    // Answers to a request that was read: with its id, text or number.
    static JSON_RPC_Object_var make_response(const JSON_RPC_Object& request, json_spirit::Value result);
    static JSON_RPC_Object_var make_error(const JSON_RPC_Object& request, int code, std::string_view message);

    /// Reads a message. Null, with the reason in `error`, when the text is no JSON-RPC 2.0 message. An id may be a text or
    /// an integer; only an error response may have null or none. Params are taken whatever their type; batches are refused.
    static JSON_RPC_Object_var parse(std::string_view text, std::string* error = nullptr);

    /// An id that is unique in the world: the text of a random UUID.
    static std::string new_id();

    Type type() const { return type_; }
    const std::string& id() const { return id_; }       ///< empty where there is none; the digits of a number
    bool id_is_number() const { return id_is_number_; } ///< texts and numbers with the same digits are different ids
    const std::string& method() const { return method_; }
    json_spirit::Value params() const; ///< read from the text when the message was made here
    json_spirit::Value take_params();  ///< the same, moved out; for a message that is not shared
    const json_spirit::Value& result() const { return result_; }
    json_spirit::Value& result() { return result_; }
    int error_code() const { return error_code_; }
    const std::string& error_message() const { return error_message_; }

    /// The message as it travels, secrets included; empty for one that was read.
    const std::string& text() const;

    /// The same for who needs it longer than this object; null for a message that was read.
    const std::shared_ptr<const std::string>& shared_text() const { return text_; }

private:
    static JSON_RPC_Object_var make(Type type, std::string_view id, bool id_is_number, std::string_view method);
    static JSON_RPC_Object_var make_response(std::string_view id, bool id_is_number, json_spirit::Value result);
    static JSON_RPC_Object_var make_error(std::string_view id, bool id_is_number, int code, std::string_view message);
    const char* read(json_spirit::Object& message);
    const char* read_id(const json_spirit::Value* id);
    const char* read_answer(json_spirit::Object& message);

    Type type_ = TYPE_NONE;
    bool id_is_number_ = false;
    int error_code_ = 0;
    std::string id_;
    std::string method_;
    json_spirit::Value params_; ///< of a message that was read
    json_spirit::Value result_;
    std::string error_message_;
    std::shared_ptr<const std::string> text_;
};
