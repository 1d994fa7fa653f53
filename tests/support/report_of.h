/// What the library reports on the standard error stream.
#ifndef TESTS_SUPPORT_REPORT_OF_H
#define TESTS_SUPPORT_REPORT_OF_H

#include <gtest/gtest.h>

#include <regex>
#include <string>

/// Everything that `action` reports, with a '#' for each number of a line.
std::string ReportOf(auto&& action) {
    testing::internal::CaptureStderr();
    action();
    return std::regex_replace(testing::internal::GetCapturedStderr(), std::regex("line [0-9]+"),
                              "line #");
}

#endif
