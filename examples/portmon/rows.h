/// The rows that the program shows: one for each event, with its time and a character for its kind.
#ifndef PORTMON_ROWS_H
#define PORTMON_ROWS_H

#include <string>

#include "utilities/utilities.h"

enum Mark : char { MARK_ARRIVED = '<', MARK_SENT = '>', MARK_STATE = '#' };

/// Writes one row to the standard output at once. A failed write is thrown as `std::system_error`.
void ShowRow(Mark mark, const String& text);

/// Cuts what arrives into rows: lines of text, or 16 bytes in hexadecimal.
class Arrivals {
public:
    explicit Arrivals(bool isHexadecimal) : m_InHexadecimal(isHexadecimal) {}

    /// Appends what arrived just now and shows the rows that are complete.
    void Add(const std::string& bytes);

    /// Shows an incomplete row if nothing arrived for a fifth of a second.
    void ShowOld();

    /// Shows an incomplete row whenever that was.
    void ShowRest();

private:
    std::size_t RowLength() const;
    void Show(std::size_t length);

    bool m_InHexadecimal;
    std::string m_Pending;
    unsigned int m_LastArrival = 0;  ///< Milliseconds, as of `GetSystemTickCount`.
};

#endif
