/// What a run found, on the standard output.
#ifndef CATALOG_REPORT_H
#define CATALOG_REPORT_H

#include <string>
#include <vector>

#include "examine.h"
#include "utilities/utilities.h"

/// Counts findings by their states.
class Report {
public:
    void Count(State state) { ++m_Counts[state]; }

    /// Counts findings, whose paths are relative to `base`, and writes a line for each that is
    /// unreadable, to the standard error stream; for others unless `unreadableOnly`.
    void Add(const std::string& base, const std::vector<Finding>& findings, bool unreadableOnly);

    /// Writes the totals.
    void PrintTotals() const;

    /// Adds the counts of another report.
    void Merge(const Report& other);

    bool IsEmpty() const;
    bool IsAllUnchanged() const;
    unsigned int Of(State state) const { return m_Counts[state]; }

private:
    static constexpr std::size_t STATES = UNCHANGED + 1;

    unsigned int m_Counts[STATES] = {};
};

/// "new", "changed" and so on.
const char* NameOf(State state);

#endif
