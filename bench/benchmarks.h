// The benchmarks of this folder, one function a source.
#pragma once

void register_load_records();
void register_record_to_json();
void register_rows_to_json();
void register_commit();
void register_memory();
void register_service();

/// Reads a million rows from the sets of a database, and prints by how many MiB the process has grown: what
/// `backup_set_bench --read-rows URL` does, which the benchmark of the memory starts.
int read_rows_alone(const char* url);

/// Serves a catalog until the standard input ends, and prints the port: `backup_set_bench --serve URL`, which the
/// benchmarks of the service start.
int serve_alone(const char* url);
