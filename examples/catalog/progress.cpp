#include "progress.h"

#include <unistd.h>

#include <cstdio>
#include <string>

#include "scopedlock.h"

namespace {

constexpr unsigned int BETWEEN_DRAWINGS = 100;  // Milliseconds.
constexpr std::size_t BAR_WIDTH = 40;
constexpr std::size_t LINES = 10;
constexpr char CLEAR_LINE[] = "\r\x1b[K";

}  // namespace

Progress::Progress(std::size_t totalSteps, bool quiet)
    : m_Total(totalSteps),
      m_IsShown(!quiet && totalSteps > 0),
      m_IsTerminal(isatty(STDERR_FILENO) != 0),
      m_LastDrawn(GetSystemTickCount()) {}

Progress::~Progress() {
    if (m_IsShown && m_IsTerminal)
        std::fputs(CLEAR_LINE, stderr);
}

void Progress::Step() {
    const ScopedLock lock(m_Mutex);
    ++m_Done;
    if (m_IsShown && m_IsTerminal)
        DrawBar();
    else if (m_IsShown)
        PrintLine();
}

void Progress::DrawBar() {
    const unsigned int now = GetSystemTickCount();
    if (CalculateTicksDifference(now, m_LastDrawn) < BETWEEN_DRAWINGS)
        return;
    m_LastDrawn = now;
    const std::size_t filled = m_Done * BAR_WIDTH / m_Total;
    const std::string bar = std::string(filled, '#') + std::string(BAR_WIDTH - filled, '.');
    std::fprintf(stderr, "%s[%s] %zu of %zu files", CLEAR_LINE, bar.c_str(), m_Done, m_Total);
    std::fflush(stderr);
}

void Progress::PrintLine() const {
    if (m_Done * LINES / m_Total != (m_Done - 1) * LINES / m_Total)
        std::fprintf(stderr, "%zu of %zu files\n", m_Done, m_Total);
}
