#include "catalog/cli/table.h"

#include "catalog/cli/terminal_text.h"

#include <algorithm>

namespace catalog::cli {

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)), widths_(columns_.size())
{
    std::vector<std::string> titles;
    for (const Column& column : columns_) {
        titles.emplace_back(column.title);
    }
    row(titles);
}

void Table::row(const std::vector<std::string>& cells)
{
    std::vector<std::string>& line = lines_.emplace_back();
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        line.push_back(printable(cells.at(i)));
        widths_[i] = std::max(widths_[i], display_width(line.back()));
    }
}

void Table::write(Output& out, std::size_t indent)
{
    for (const std::vector<std::string>& cells : lines_) {
        std::string line(indent, ' ');
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const std::string padding(widths_[i] - display_width(cells[i]), ' ');
            line += columns_[i].align == RIGHT ? padding + cells[i] : cells[i] + padding;
            line += "  ";
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out.line(line);
    }
    lines_.clear();
}

} // namespace catalog::cli
