/// Rows of values in columns that line up.
#ifndef CATALOG_TABLE_H
#define CATALOG_TABLE_H

#include <vector>

#include "utilities/utilities.h"

using Row = std::vector<MultiType>;

/// The layout of a table. Numbers stand at the right of their column, all else at the left; a
/// column is as wide as the longest text in it, counted in characters. Only the widths are kept:
/// each row is measured first, and made again when it is written.
class Table {
public:
    void Measure(const Row& row);

    /// The line of a row that was measured before.
    String Line(const Row& row) const;

private:
    std::vector<std::size_t> widths;
};

#endif
