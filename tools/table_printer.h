/*
 * Plain-text tables for the tools' human output: a header row and aligned columns, separated by
 * two spaces, the last column left ragged.
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

    std::string Render() const;
    void Print(FILE* out = stdout) const;

private:
    std::vector<std::string> header_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_TABLE_PRINTER_H
