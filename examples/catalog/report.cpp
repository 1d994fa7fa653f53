#include "report.h"

#include <algorithm>

#include "messages.h"

namespace {

constexpr const char* STATE_NAMES[] = {"new",     "changed",    "moved",
                                       "missing", "unreadable", "unchanged"};

void Print(const std::string& base, const Finding& finding) {
    String line = String(NameOf(finding.state)) + " " + Escaped(Joined(base, finding.entry.path));
    if (finding.state == CHANGED)
        line += ": " + finding.text;
    else if (finding.state == MOVED)
        line += " from " + Escaped(Joined(base, finding.from));
    PrintLine(line);
}

}  // namespace

void Report::Add(const std::string& base, const std::vector<Finding>& findings,
                 bool unreadableOnly) {
    for (const Finding& finding : findings) {
        Count(finding.state);
        if (finding.state == UNREADABLE)
            PrintError(Joined(base, finding.entry.path), finding.text);
        else if (finding.state != UNCHANGED && !unreadableOnly)
            Print(base, finding);
    }
}

void Report::PrintTotals() const {
    String totals;
    for (std::size_t state = 0; state < STATES; ++state)
        totals += (state > 0 ? ", " : "") + MultiType(m_Counts[state]).GetAs<String>() + " " +
                  STATE_NAMES[state];
    PrintLine(totals);
}

void Report::Merge(const Report& other) {
    for (std::size_t state = 0; state < STATES; ++state)
        m_Counts[state] += other.m_Counts[state];
}

bool Report::IsEmpty() const { return IsAllUnchanged() && m_Counts[UNCHANGED] == 0; }

bool Report::IsAllUnchanged() const {
    return std::all_of(m_Counts, m_Counts + UNCHANGED,
                       [](unsigned int count) { return count == 0; });
}

const char* NameOf(State state) { return STATE_NAMES[state]; }
