#include "input.h"

#include <poll.h>
#include <unistd.h>

void Input::Wait(int milliseconds) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (poll(&input, m_IsAtEnd ? 0 : 1, milliseconds) <= 0)
        return;
    char bytes[4096];
    const ssize_t size = ::read(STDIN_FILENO, bytes, sizeof bytes);
    m_IsAtEnd = size <= 0;
    if (m_IsAtEnd && !m_Pending.empty() && m_Pending.back() != '\n')
        m_Pending += '\n';
    if (!m_IsAtEnd)
        m_Pending.append(bytes, static_cast<std::size_t>(size));
}

std::optional<std::string> Input::TakeLine() {
    const std::size_t end = m_Pending.find('\n');
    if (end == std::string::npos)
        return std::nullopt;
    std::string line = m_Pending.substr(0, end);
    m_Pending.erase(0, end + 1);
    return line;
}
