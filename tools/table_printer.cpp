#include "tools/table_printer.h"

#include <locale.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <utility>

#include "tools/tool_arguments.h"

namespace OHOS::Host::Tools {
namespace {

constexpr size_t GAP = 2;
constexpr size_t DEFAULT_WIDTH = 100;

// Where a cell may break: between the items of a list, never inside a name, which stays whole
// so that it can be copied back into a command.
constexpr const char* LIST_BREAKS = ",| ";

// The pieces a cell may break between, each keeping its separator: "A,B" gives "A," and "B".
std::vector<std::string> Pieces(const std::string& cell)
{
    std::vector<std::string> pieces(1);
    for (char c : cell) {
        pieces.back() += c;
        if (std::strchr(LIST_BREAKS, c) != nullptr) {
            pieces.emplace_back();
        }
    }
    if (pieces.back().empty()) {
        pieces.pop_back();
    }
    return pieces;
}

std::string TrimRight(std::string text)
{
    while (!text.empty() && text.back() == ' ') {
        text.pop_back();
    }
    return text;
}

// The lines of `cell` in at most `width` columns; a piece wider than that stands alone.
std::vector<std::string> Wrap(const std::string& cell, size_t width)
{
    if (TablePrinter::DisplayWidth(cell) <= width) {
        return {cell};
    }
    std::vector<std::string> lines(1);
    for (const std::string& piece : Pieces(cell)) {
        if (!lines.back().empty() && TablePrinter::DisplayWidth(TrimRight(lines.back() + piece)) > width) {
            lines.back() = TrimRight(lines.back());
            lines.emplace_back();
        }
        lines.back() += piece;
    }
    lines.back() = TrimRight(lines.back());
    return lines;
}

size_t LongestPiece(const std::string& cell)
{
    size_t longest = 0;
    for (const std::string& piece : Pieces(cell)) {
        longest = std::max(longest, TablePrinter::DisplayWidth(TrimRight(piece)));
    }
    return longest;
}

size_t OutputWidth(FILE* out)
{
    struct winsize size {};
    if (isatty(fileno(out)) && ioctl(fileno(out), TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
    }
    const char* columns = std::getenv("COLUMNS");
    const auto value = columns == nullptr ? std::nullopt : ToolArguments::ParseDecimal(columns, 20, 10000);
    return value ? static_cast<size_t>(*value) : DEFAULT_WIDTH;
}

}  // namespace

TablePrinter::TablePrinter(std::vector<std::string> header) : header_(std::move(header))
{
}

void TablePrinter::AddRow(std::vector<std::string> cells)
{
    cells.resize(std::max(cells.size(), header_.size()));
    rows_.push_back(std::move(cells));
}

size_t TablePrinter::DisplayWidth(const std::string& text)
{
    // wcwidth answers for the calling thread's locale: a UTF-8 one for this count only.
    static const locale_t UTF8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr));
    const locale_t previous = UTF8 == nullptr ? nullptr : uselocale(UTF8);
    size_t width = 0;
    std::mbstate_t state{};
    for (size_t at = 0; at < text.size();) {
        wchar_t wide = 0;
        const size_t used = std::mbrtowc(&wide, text.data() + at, text.size() - at, &state);
        if (used == 0 || used > text.size() - at) {  // a NUL, or not UTF-8: one column a byte
            state = std::mbstate_t{};
            ++width;
            ++at;
            continue;
        }
        const int columns = wcwidth(wide);
        width += columns < 0 ? 1 : static_cast<size_t>(columns);
        at += used;
    }
    if (previous != nullptr) {
        uselocale(previous);
    }
    return width;
}

std::string TablePrinter::Render(size_t maxWidth) const
{
    const size_t count = header_.size();
    std::vector<size_t> widths(count, 0);
    std::vector<size_t> least(count, 0);
    auto measure = [&](const std::vector<std::string>& row) {
        for (size_t column = 0; column < count; ++column) {
            widths[column] = std::max(widths[column], DisplayWidth(row[column]));
            least[column] = std::max(least[column], LongestPiece(row[column]));
        }
    };
    measure(header_);
    for (const auto& row : rows_) {
        measure(row);
    }
    auto total = [&widths] {
        size_t sum = 0;
        for (size_t width : widths) {
            sum += width + GAP;
        }
        return sum == 0 ? 0 : sum - GAP;
    };
    // Narrow the widest column that can still give way, a column at a time, until the table fits or
    // none can.
    while (maxWidth > 0 && total() > maxWidth) {
        size_t widest = count;
        for (size_t column = 0; column < count; ++column) {
            if (widths[column] > least[column] && (widest == count || widths[column] >= widths[widest])) {
                widest = column;
            }
        }
        if (widest == count) {
            break;
        }
        --widths[widest];
    }
    // Each cell in its lines; a column then takes the width of its widest line.
    auto wrapRow = [&widths, count](const std::vector<std::string>& cells) {
        std::vector<std::vector<std::string>> wrapped;
        for (size_t column = 0; column < count; ++column) {
            wrapped.push_back(Wrap(cells[column], widths[column]));
        }
        return wrapped;
    };
    std::vector<std::vector<std::vector<std::string>>> table = {wrapRow(header_)};
    for (const auto& row : rows_) {
        table.push_back(wrapRow(row));
    }
    std::fill(widths.begin(), widths.end(), 0);
    for (const auto& row : table) {
        for (size_t column = 0; column < count; ++column) {
            for (const std::string& line : row[column]) {
                widths[column] = std::max(widths[column], DisplayWidth(line));
            }
        }
    }
    std::string text;
    for (const auto& row : table) {
        size_t height = 1;
        for (const auto& cell : row) {
            height = std::max(height, cell.size());
        }
        for (size_t line = 0; line < height; ++line) {
            std::string out;
            for (size_t column = 0; column < count; ++column) {
                const std::string& part = line < row[column].size() ? row[column][line] : std::string();
                out += part;
                if (column + 1 < count) {
                    out.append(widths[column] - DisplayWidth(part) + GAP, ' ');
                }
            }
            text += TrimRight(out) + '\n';
        }
    }
    return text;
}

void TablePrinter::Print(FILE* out) const
{
    const std::string text = Render(OutputWidth(out));
    std::fwrite(text.data(), 1, text.size(), out);
}

}  // namespace OHOS::Host::Tools
