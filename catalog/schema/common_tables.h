// The tables that every set has its rows in, whatever its type.
#pragma once

#include "catalog/schema/schema.h"

#include <span>

namespace catalog {

extern const Table catalog_schema_table;
extern const Table backup_set_table;
extern const Table backup_set_document_table;
extern const Table backup_set_parent_table;
extern const Table backup_set_state_table;
extern const Table backup_set_storage_table;
extern const Table backup_set_media_table;
extern const Table backup_piece_table;
extern const Table backup_set_commit_table;

// What the catalog keeps beside the sets: those that are not committed yet, and what was answered and promised.
extern const Table open_set_table;
extern const Table open_set_pieces_table;
extern const Table queued_commit_table;
extern const Table remembered_answer_table;

/// All of them, parents before children.
std::span<const Table* const> common_tables();

} // namespace catalog
