/// What the program shows: a row for each event, with its time and a mark that tells its kind.
#ifndef PORTMON_ROWS_H
#define PORTMON_ROWS_H

#include <string>

#include "utilities/utilities.h"

enum Mark : char { MARK_ARRIVED = '<', MARK_SENT = '>', MARK_STATE = '#' };

void ShowRow(Mark mark, const String& text);

/// Cuts what arrives into rows: lines of text, or 16 bytes in hexadecimal.
class Arrivals {
public:
    explicit Arrivals(bool isHexadecimal) : inHexadecimal(isHexadecimal) {}

    void Add(const std::string& bytes);

    /// Shows a row that isn't complete if nothing came for a while.
    void ShowOld();

    /// Shows it at once.
    void ShowRest();

private:
    std::size_t RowLength() const;
    void Show(std::size_t length);

    bool inHexadecimal;
    std::string pending;
    unsigned int lastArrival = 0;  ///< In ticks.
};

#endif
