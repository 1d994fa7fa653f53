/// Rows of values in columns that line up.
#ifndef CATALOG_TABLE_H
#define CATALOG_TABLE_H

#include <string>
#include <vector>

#include "utilities/utilities.h"

using Row = std::vector<MultiType>;

/// A table. Numbers are aligned to the right of their column, everything else to the left; a column
/// is as wide as its longest text, counted in characters.
class Table {
public:
    void Add(Row row);

    /// Writes all lines to the standard output.
    void Print() const;

private:
    std::string LineOf(const Row& row) const;

    std::vector<Row> m_Rows;
    std::vector<std::size_t> m_Widths;
};

#endif
