/// A time zone for the length of a scope.
#ifndef TESTS_SUPPORT_ZONE_H
#define TESTS_SUPPORT_ZONE_H

#include <cstdlib>
#include <ctime>

#include "utilities/time/bqlocaldate.h"

/// Makes TZ's value the zone of the library and of the C library; UTC at the end.
class ScopedZone {
public:
    explicit ScopedZone(const char* name) { Set(name); }
    ~ScopedZone() { Set("UTC"); }
    ScopedZone(const ScopedZone&) = delete;
    ScopedZone& operator=(const ScopedZone&) = delete;

private:
    static void Set(const char* name) {
        setenv("TZ", name, 1);
        tzset();
        BqLocalDate().set(1, 1, 2000);
    }
};

#endif
