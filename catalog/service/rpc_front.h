// JSON-RPC 2.0 of the service: one message in, one answer out.
//
// Thread-safe. Ids come back as they were written. A message without an id is a notification and gets no answer. Batches
// are refused: one connection carries many calls at once.
#pragma once

#include "catalog/service/operations.h"

#include <span>
#include <string>

namespace catalog::service {

/// A method, for the documentation too.
struct RPC_Method
{
    const char* name;
    const char* params; ///< what they are
    const char* result;
    Role role; ///< that it needs
};

std::span<const RPC_Method> rpc_methods();

class RPC_Front
{
public:
    explicit RPC_Front(Operations& operations) : operations_(operations) {}

    /// The reply's body is empty where there is nothing to answer.
    void answer(std::string message, const Principal& principal, Reply_Taker taker);

private:
    struct Call;

    void run(Call call, const Principal& principal, Reply_Taker taker);
    void write(Call call, Write_Operation operation, const Principal& principal, Reply_Taker taker);
    void select(Call call, const Principal& principal, Reply_Taker taker);
    void refuse(const std::string& id, const Fault& fault, const Reply_Taker& taker);

    Operations& operations_;
};

} // namespace catalog::service
