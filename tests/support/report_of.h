/// What the library reports on the standard error stream.
#ifndef TESTS_SUPPORT_REPORT_OF_H
#define TESTS_SUPPORT_REPORT_OF_H

#include <gtest/gtest.h>

#include <initializer_list>
#include <regex>
#include <string>

/// Everything that `action` reports, with a '#' for each number of a line.
std::string ReportOf(auto&& action) {
    testing::internal::CaptureStderr();
    action();
    return std::regex_replace(testing::internal::GetCapturedStderr(), std::regex("line [1-9]\\d*"),
                              "line #");
}

/// What the failed conditions of a module look like there.
inline std::string Asserted(const std::string& module,
                            std::initializer_list<const char*> conditions) {
    std::string report;
    for (const char* const condition : conditions)
        report += std::string("ASSERT(") + condition + " in: .\\" + module + "  line #\n";
    return report;
}

#endif
