#include "progress.h"

#include <unistd.h>

#include <cstdio>
#include <string>

#include "scopedlock.h"

namespace {

constexpr unsigned int BETWEEN_DRAWINGS = 100;  // Milliseconds.
constexpr std::size_t BAR_WIDTH = 40;
constexpr char CLEAR_LINE[] = "\r\x1b[K";

}  // namespace

Progress::Progress(std::size_t totalSteps, bool quiet)
    : m_Total(totalSteps),
      m_IsShown(!quiet && isatty(STDERR_FILENO) != 0),
      m_LastDrawn(GetSystemTickCount()) {}

Progress::~Progress() {
    if (m_IsShown)
        std::fputs(CLEAR_LINE, stderr);
}

void Progress::Step() {
    if (!m_IsShown)
        return;
    const ScopedLock lock(m_Mutex);
    ++m_Done;
    DrawBar();
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
