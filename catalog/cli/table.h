// Tables of text on a terminal: columns aligned by how wide their characters are.
#pragma once

#include "catalog/cli/output.h"

#include <cstddef>
#include <string>
#include <vector>

namespace catalog::cli {

class Table
{
public:
    enum Align
    {
        LEFT,
        RIGHT
    };
    struct Column
    {
        const char* title;
        Align align = LEFT;
    };

    explicit Table(std::vector<Column> columns);

    /// Adds a row: as many cells as there are columns. Cells may hold anything; they are made printable.
    void row(const std::vector<std::string>& cells);

    /// Writes the titles and all rows, each line after `indent` blanks, and forgets the rows. Widths never shrink, so
    /// that a table in parts stays one table; only the first part has the titles.
    void write(Output& out, std::size_t indent = 0);

private:
    std::vector<Column> columns_;
    std::vector<std::size_t> widths_;
    std::vector<std::vector<std::string>> lines_; ///< the titles first
};

} // namespace catalog::cli
