#include "input.h"

#include <poll.h>
#include <unistd.h>

void Input::Wait(int milliseconds) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (poll(&input, isAtEnd ? 0 : 1, milliseconds) <= 0)
        return;
    char bytes[4096];
    const ssize_t size = ::read(STDIN_FILENO, bytes, sizeof bytes);
    isAtEnd = size <= 0;
    if (isAtEnd && !read.empty() && read.back() != '\n')
        read += '\n';
    if (!isAtEnd)
        read.append(bytes, static_cast<std::size_t>(size));
}

std::optional<std::string> Input::TakeLine() {
    const std::size_t end = read.find('\n');
    if (end == std::string::npos)
        return std::nullopt;
    std::string line = read.substr(0, end);
    read.erase(0, end + 1);
    return line;
}
