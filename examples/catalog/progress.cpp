#include "progress.h"

#include <unistd.h>

#include <cstdio>
#include <string>

#include "holding.h"

namespace {

constexpr unsigned int BETWEEN_DRAWINGS = 100;  // Milliseconds.
constexpr std::size_t BAR_WIDTH = 40;
constexpr std::size_t LINES = 10;
constexpr char CLEAR_LINE[] = "\r\x1b[K";

}  // namespace

Progress::Progress(std::size_t totalSteps, bool quiet)
    : total(totalSteps),
      isShown(!quiet && totalSteps > 0),
      isTerminal(isatty(STDERR_FILENO) != 0),
      lastDrawn(GetSystemTickCount()) {}

Progress::~Progress() {
    if (isShown && isTerminal)
        std::fputs(CLEAR_LINE, stderr);
}

void Progress::Step() {
    const Holding holding(access);
    ++done;
    if (isShown && isTerminal)
        DrawBar();
    else if (isShown)
        PrintLine();
}

void Progress::DrawBar() {
    const unsigned int now = GetSystemTickCount();
    if (CalculateTicksDifference(now, lastDrawn) < BETWEEN_DRAWINGS)
        return;
    lastDrawn = now;
    const std::size_t filled = done * BAR_WIDTH / total;
    const std::string bar = std::string(filled, '#') + std::string(BAR_WIDTH - filled, '.');
    std::fprintf(stderr, "%s[%s] %zu of %zu files", CLEAR_LINE, bar.c_str(), done, total);
    std::fflush(stderr);
}

void Progress::PrintLine() const {
    if (done * LINES / total != (done - 1) * LINES / total)
        std::fprintf(stderr, "%zu of %zu files\n", done, total);
}
