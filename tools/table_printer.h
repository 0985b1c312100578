/*
 * Plain-text tables for the tools' human output: a header row and aligned columns, separated by
 * two spaces, the last column left ragged. Widths are counted in terminal columns (a wide CJK
 * character takes two, a combining mark none), not in bytes. A table wider than the space it is
 * given wraps its widest cells at their list separators (',', '|', ' '), so that a row takes
 * several lines rather than the terminal wrapping it. Names are never broken.
 */
#ifndef TOOLS_TABLE_PRINTER_H
#define TOOLS_TABLE_PRINTER_H

#include <cstdio>
#include <string>
#include <vector>

namespace OHOS::Host::Tools {

class TablePrinter {
public:
    explicit TablePrinter(std::vector<std::string> header);

    // A row with fewer cells than the header is padded with empty ones.
    void AddRow(std::vector<std::string> cells);
    size_t RowCount() const { return rows_.size(); }

    // `maxWidth` 0: never wrap.
    std::string Render(size_t maxWidth = 0) const;
    // Wraps to the terminal's width when `out` is one, else to $COLUMNS, else to 100 columns.
    void Print(FILE* out = stdout) const;

    // Terminal columns `text` (UTF-8) takes; a byte that is not UTF-8 counts as one column.
    static size_t DisplayWidth(const std::string& text);

private:
    std::vector<std::string> header_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_TABLE_PRINTER_H
