#include "catalog/store/write_request.h"

namespace catalog {

const char* operation_name(Write_Operation operation)
{
    switch (operation) {
    case Write_Operation::INITIALIZE:
        return "initialize";
    case Write_Operation::ADD_PIECE:
        return "add_piece";
    case Write_Operation::COMPLETE:
        return "complete";
    case Write_Operation::ABORT:
        return "abort";
    case Write_Operation::COMMIT:
        return "commit";
    case Write_Operation::UPDATE:
        return "update";
    }
    return "";
}

} // namespace catalog
