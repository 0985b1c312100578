#include "tools/table_printer.h"

#include <algorithm>
#include <utility>

namespace OHOS::Host::Tools {

TablePrinter::TablePrinter(std::vector<std::string> header) : header_(std::move(header))
{
}

void TablePrinter::AddRow(std::vector<std::string> cells)
{
    cells.resize(std::max(cells.size(), header_.size()));
    rows_.push_back(std::move(cells));
}

std::string TablePrinter::Render() const
{
    std::vector<size_t> widths(header_.size(), 0);
    for (size_t column = 0; column < header_.size(); ++column) {
        widths[column] = header_[column].size();
    }
    for (const auto& row : rows_) {
        for (size_t column = 0; column < row.size() && column < widths.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    std::string text;
    auto appendRow = [&text, &widths](const std::vector<std::string>& cells) {
        std::string line;
        for (size_t column = 0; column < cells.size(); ++column) {
            line += cells[column];
            if (column + 1 < cells.size()) {
                const size_t width = column < widths.size() ? widths[column] : cells[column].size();
                line.append(width - cells[column].size() + 2, ' ');
            }
        }
        while (!line.empty() && line.back() == ' ') {
            line.pop_back();
        }
        text += line;
        text += '\n';
    };
    appendRow(header_);
    for (const auto& row : rows_) {
        appendRow(row);
    }
    return text;
}

void TablePrinter::Print(FILE* out) const
{
    const std::string text = Render();
    std::fwrite(text.data(), 1, text.size(), out);
}

}  // namespace OHOS::Host::Tools
