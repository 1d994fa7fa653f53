#include "rows.h"

#include <algorithm>

#include "clock.h"
#include "messages.h"

namespace {

constexpr std::size_t TEXT_LENGTH = 1000;  ///< A longer line takes several rows.
constexpr std::size_t HEXADECIMAL_LENGTH = 16;
constexpr unsigned int LONG_AGO = 200;  ///< Milliseconds.

String AsHexadecimal(const std::string& bytes) {
    String text;
    for (const char byte : bytes) {
        String code;
        code.Format("%02x ", static_cast<unsigned char>(byte));
        text += code;
    }
    text.append(3 * (HEXADECIMAL_LENGTH - bytes.size()) + 1, ' ');
    for (const char byte : bytes)
        text += byte >= ' ' && byte <= '~' ? byte : '.';
    return text;
}

String AsText(std::string bytes) {
    for (const char end : {'\n', '\r'}) {
        if (!bytes.empty() && bytes.back() == end)
            bytes.pop_back();
    }
    return Escaped(bytes);
}

}  // namespace

void ShowRow(Mark mark, const String& text) {
    PrintLine(LocalTime() + " " + static_cast<char>(mark) + " " + text);
    FinishOutput();
}

std::size_t Arrivals::RowLength() const {
    if (inHexadecimal)
        return HEXADECIMAL_LENGTH;
    return std::min(pending.find('\n'), TEXT_LENGTH - 1) + 1;
}

void Arrivals::Show(std::size_t length) {
    const std::string row = pending.substr(0, length);
    pending.erase(0, length);
    ShowRow(MARK_ARRIVED, inHexadecimal ? AsHexadecimal(row) : AsText(row));
}

void Arrivals::Add(const std::string& bytes) {
    pending += bytes;
    lastArrival = GetSystemTickCount();
    while (RowLength() <= pending.size())
        Show(RowLength());
}

void Arrivals::ShowOld() {
    if (CalculateTicksDifference(GetSystemTickCount(), lastArrival) >= LONG_AGO)
        ShowRest();
}

void Arrivals::ShowRest() {
    if (!pending.empty())
        Show(pending.size());
}
