#include "rows.h"

#include <algorithm>

#include "clock.h"
#include "messages.h"

namespace {

constexpr std::size_t TEXT_LENGTH = 1000;  // A longer line takes several rows.
constexpr std::size_t HEXADECIMAL_LENGTH = 16;
constexpr unsigned int LONG_AGO = 200;  // Milliseconds.

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
    if (m_InHexadecimal)
        return HEXADECIMAL_LENGTH;
    return std::min(m_Pending.find('\n'), TEXT_LENGTH - 1) + 1;
}

void Arrivals::Show(std::size_t length) {
    const std::string row = m_Pending.substr(0, length);
    m_Pending.erase(0, length);
    ShowRow(MARK_ARRIVED, m_InHexadecimal ? AsHexadecimal(row) : AsText(row));
}

void Arrivals::Add(const std::string& bytes) {
    m_Pending += bytes;
    m_LastArrival = GetSystemTickCount();
    while (RowLength() <= m_Pending.size())
        Show(RowLength());
}

void Arrivals::ShowOld() {
    if (CalculateTicksDifference(GetSystemTickCount(), m_LastArrival) >= LONG_AGO)
        ShowRest();
}

void Arrivals::ShowRest() {
    if (!m_Pending.empty())
        Show(m_Pending.size());
}
