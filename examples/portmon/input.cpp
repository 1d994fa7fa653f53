#include "input.h"

#include <unistd.h>

#include <algorithm>

namespace {

constexpr std::size_t MOST_PENDING = 4096;
constexpr std::size_t PART_LENGTH = 1000;

}  // namespace

bool Input::IsWanted() const { return !m_IsAtEnd && m_Pending.size() < MOST_PENDING; }

void Input::Read() {
    char bytes[MOST_PENDING];
    const ssize_t size = ::read(STDIN_FILENO, bytes, sizeof bytes);
    m_IsAtEnd = size <= 0;
    if (m_IsAtEnd && !m_Pending.empty() && m_Pending.back() != '\n')
        m_Pending += '\n';
    if (!m_IsAtEnd)
        m_Pending.append(bytes, static_cast<std::size_t>(size));
}

std::optional<std::string> Input::Take() {
    const std::size_t length = std::min(m_Pending.find('\n'), PART_LENGTH - 1) + 1;
    if (length > m_Pending.size())
        return std::nullopt;
    std::string part = m_Pending.substr(0, length);
    m_Pending.erase(0, length);
    return part;
}
