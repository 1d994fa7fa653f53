#include "table.h"

#include <algorithm>

#include "messages.h"

namespace {

constexpr char GAP[] = "  ";

bool IsNumber(const MultiType& value) {
    return value.Type() >= MultiType::TYPE_CHAR && value.Type() <= MultiType::TYPE_DOUBLE;
}

bool IsAscii(const String& text) {
    return std::all_of(text.begin(), text.end(), [](char byte) { return (byte & 0x80) == 0; });
}

/// The number of bytes if the text can't be converted to wide characters.
std::size_t CharactersIn(const String& text) {
    if (IsAscii(text))
        return text.size();
    const WString wide(text);
    const auto isSecondOfPair = [](WideChar unit) { return unit >= 0xDC00 && unit <= 0xDFFF; };
    const auto pairs = std::count_if(wide.begin(), wide.end(), isSecondOfPair);
    return wide.empty() ? text.size() : wide.size() - static_cast<std::size_t>(pairs);
}

}  // namespace

void Table::Add(Row row) {
    m_Widths.resize(std::max(m_Widths.size(), row.size()));
    String text;
    for (std::size_t column = 0; column < row.size(); ++column) {
        row[column].Get(text);
        m_Widths[column] = std::max(m_Widths[column], CharactersIn(text));
    }
    m_Rows.push_back(std::move(row));
}

void Table::Print() const {
    for (const Row& row : m_Rows)
        PrintText(LineOf(row));
}

std::string Table::LineOf(const Row& row) const {
    std::string line;
    String text;
    for (std::size_t column = 0; column < row.size(); ++column) {
        row[column].Get(text);
        const std::size_t blanks = m_Widths[column] - CharactersIn(text);
        const bool isLast = column + 1 == row.size();
        if (IsNumber(row[column]))
            line.append(blanks, ' ').append(text);
        else
            line.append(text).append(isLast ? 0 : blanks, ' ');
        line.append(isLast ? "\n" : GAP);
    }
    return line;
}
