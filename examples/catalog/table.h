/// Rows of values in columns that line up.
#ifndef CATALOG_TABLE_H
#define CATALOG_TABLE_H

#include <vector>

#include "utilities/utilities.h"

using Row = std::vector<MultiType>;

/// The layout of a table. Numbers are aligned to the right of their column, everything else to the
/// left; a column is as wide as its longest text, counted in characters. Only the widths are
/// stored: a program measures all rows first, and makes each row again to write it.
class Table {
public:
    /// Widens the columns for `row`.
    void Measure(const Row& row);

    /// The line of a row, which must have been measured.
    String Line(const Row& row) const;

private:
    std::vector<std::size_t> m_Widths;
};

#endif
