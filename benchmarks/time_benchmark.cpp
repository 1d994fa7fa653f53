// Instants to local dates, times of day and texts, fields to instants, and the present time, beside
// the common frameworks and the C library. Each conversion of the library takes the mutex, and the
// one to local time is made twice.
#include <benchmark/benchmark.h>
#ifdef UTILITIES_HAS_ABSEIL
#include <absl/time/clock.h>
#include <absl/time/time.h>
#endif
#ifdef UTILITIES_HAS_GLIB
#include <glib.h>
#endif
#ifdef UTILITIES_HAS_POCO
#include <Poco/DateTimeFormatter.h>
#include <Poco/LocalDateTime.h>
#endif
#ifdef UTILITIES_HAS_QT
#include <QDateTime>
#include <QString>
#endif

#include <cstdlib>
#include <ctime>
#include <locale>
#include <sstream>
#include <string>
#include <thread>

#include "benchmarks/measure.h"
#include "utilities/time/bqtime.h"

namespace {

constexpr char ZONE[] = "Europe/Berlin";

/// Needs both a date and a time of day.
struct Shown {
    int year, day, hour;
};

struct Case {
    const char* name;
    std::time_t seconds;
};

constexpr Case CASES[] = {{"summer", 1'751'371'506}, {"winter", 1'765'873'506}};

/// Writes into one stream again and again, as a program does.
std::string TextBy(std::ostringstream& stream, const BqGMTime& instant) {
    stream.seekp(0);
    stream << instant;
    return stream.str();
}

Shown OwnFields(const BqGMTime& instant, const int* offset) {
    unsigned short year;
    unsigned char month, day;
    instant.getLocalDate(offset).get(&year, &month, &day, nullptr);
    return {year, day, instant.getLocalTimeOfDay(offset).getMilliSeconds() / 3'600'000};
}

void MeasureOwn(const Case& row) {
    const BqGMTime instant(row.seconds * 1000LL);
    const std::string name = row.name;
    Measure("Time/" + name + ", date and time of day/Utilities", instant, [](const BqGMTime& at) {
        const int offset = BqGMTime::getLocalTimeMsecOffset(at, nullptr);
        return std::pair(at.getLocalDate(&offset), at.getLocalTimeOfDay(&offset));
    });
    Measure("Time/" + name + ", year, day and hour/Utilities", instant, [](const BqGMTime& at) {
        const int offset = BqGMTime::getLocalTimeMsecOffset(at, nullptr);
        return OwnFields(at, &offset);
    });
    Measure("Time/" + name + ", text/Utilities", instant, [](const BqGMTime& at) {
        static std::ostringstream stream;
        return TextBy(stream, at);
    });
    Measure("Time/" + name + ", text in C.UTF-8/Utilities", instant, [](const BqGMTime& at) {
        static std::ostringstream stream = [] {
            std::ostringstream localized;
            localized.imbue(std::locale("C.UTF-8"));
            return localized;
        }();
        return TextBy(stream, at);
    });
}

void MeasureHost(const Case& row) {
    const std::string name = row.name;
    const auto fields = [](std::time_t at) {
        struct tm local;
        localtime_r(&at, &local);
        return Shown{local.tm_year + 1900, local.tm_mday, local.tm_hour};
    };
    Measure("Time/" + name + ", date and time of day/C library", row.seconds, fields);
    Measure("Time/" + name + ", year, day and hour/C library", row.seconds, fields);
    Measure("Time/" + name + ", text/C library", row.seconds, [](std::time_t at) {
        struct tm local;
        char text[64];
        localtime_r(&at, &local);
        return std::string(text, std::strftime(text, sizeof text, "%X %x", &local));
    });
    Measure("Time/" + name + ", text in C.UTF-8/C library", row.seconds, [](std::time_t at) {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C.UTF-8", nullptr);
        struct tm local;
        char text[64];
        localtime_r(&at, &local);
        return std::string(text, strftime_l(text, sizeof text, "%X %x", &local, locale));
    });
}

#ifdef UTILITIES_HAS_ABSEIL
void MeasureAbseil(const Case& row) {
    static const absl::TimeZone zone = absl::LocalTimeZone();
    const std::string name = row.name;
    const auto fields = [](const absl::Time& at) {
        const absl::CivilSecond local = zone.At(at).cs;
        return Shown{static_cast<int>(local.year()), local.day(), local.hour()};
    };
    const absl::Time instant = absl::FromUnixSeconds(row.seconds);
    Measure("Time/" + name + ", date and time of day/Abseil", instant, fields);
    Measure("Time/" + name + ", year, day and hour/Abseil", instant, fields);
    Measure("Time/" + name + ", text/Abseil", instant,
            [](const absl::Time& at) { return absl::FormatTime("%H:%M:%S %m/%d/%y", at, zone); });
}
#endif

#ifdef UTILITIES_HAS_POCO
void MeasurePoco(const Case& row) {
    const Poco::Timestamp instant = Poco::Timestamp::fromEpochTime(row.seconds);
    const std::string name = row.name;
    const auto fields = [](const Poco::Timestamp& at) {
        const Poco::LocalDateTime local{Poco::DateTime(at)};
        return Shown{local.year(), local.day(), local.hour()};
    };
    Measure("Time/" + name + ", date and time of day/Poco", instant, fields);
    Measure("Time/" + name + ", year, day and hour/Poco", instant, fields);
    Measure("Time/" + name + ", text/Poco", instant, [](const Poco::Timestamp& at) {
        const Poco::LocalDateTime local{Poco::DateTime(at)};
        return Poco::DateTimeFormatter::format(local, "%H:%M:%S %m/%d/%y");
    });
}
#endif

#ifdef UTILITIES_HAS_QT
void MeasureQt(const Case& row) {
    const std::string name = row.name;
    const auto fields = [](std::time_t at) {
        const QDateTime local = QDateTime::fromSecsSinceEpoch(at);
        const QDate date = local.date();
        return Shown{date.year(), date.day(), local.time().hour()};
    };
    Measure("Time/" + name + ", date and time of day/Qt", row.seconds, fields);
    Measure("Time/" + name + ", year, day and hour/Qt", row.seconds, fields);
    Measure("Time/" + name + ", text/Qt", row.seconds, [](std::time_t at) {
        return QDateTime::fromSecsSinceEpoch(at).toString("HH:mm:ss MM/dd/yy");
    });
}
#endif

#ifdef UTILITIES_HAS_GLIB
void MeasureGlib(const Case& row) {
    const std::string name = row.name;
    const auto fields = [](gint64 at) {
        GDateTime* const local = g_date_time_new_from_unix_local(at);
        const Shown shown{g_date_time_get_year(local), g_date_time_get_day_of_month(local),
                          g_date_time_get_hour(local)};
        g_date_time_unref(local);
        return shown;
    };
    Measure("Time/" + name + ", date and time of day/GLib", gint64{row.seconds}, fields);
    Measure("Time/" + name + ", year, day and hour/GLib", gint64{row.seconds}, fields);
    Measure("Time/" + name + ", text/GLib", gint64{row.seconds}, [](gint64 at) {
        GDateTime* const local = g_date_time_new_from_unix_local(at);
        gchar* const text = g_date_time_format(local, "%H:%M:%S %m/%d/%y");
        std::string result = text;
        g_free(text);
        g_date_time_unref(local);
        return result;
    });
}
#endif

void MeasureNow() {
    const auto measure = [](const char* peer, auto now) {
        Measure("Time/now/" + std::string(peer), 0, [now](int) { return now(); });
    };
    measure("Utilities", [] { return BqGMTime::getCurrentTime(); });
    measure("C library", [] {
        timespec now;
        clock_gettime(CLOCK_REALTIME, &now);
        return now;
    });
#ifdef UTILITIES_HAS_ABSEIL
    measure("Abseil", [] { return absl::Now(); });
#endif
#ifdef UTILITIES_HAS_POCO
    measure("Poco", [] { return Poco::Timestamp(); });
#endif
#ifdef UTILITIES_HAS_QT
    measure("Qt", [] { return QDateTime::currentMSecsSinceEpoch(); });
#endif
#ifdef UTILITIES_HAS_GLIB
    measure("GLib", [] { return g_get_real_time(); });
#endif
}

/// Reads fields of GMT; `zone` null leaves TZ unset meanwhile.
template <class Operation>
void MeasureRead(const std::string& name, const char* zone, Operation operation) {
    benchmark::RegisterBenchmark(name.c_str(), [zone, operation](benchmark::State& state) {
        if (zone == nullptr)
            unsetenv("TZ");
        struct tm record {};
        record.tm_mday = 1;
        record.tm_year = 125;
        for (auto _ : state) {
            benchmark::DoNotOptimize(record);
            benchmark::DoNotOptimize(operation(&record));
        }
        setenv("TZ", ZONE, 1);
    });
}

const bool REGISTERED = [] {
    // The C library's locks are cheaper as long as there has been one thread only.
    std::thread([] {}).join();
    setenv("TZ", ZONE, 1);
    tzset();
    MeasureNow();
    for (const char* const zone : {ZONE, static_cast<const char*>(nullptr)}) {
        const std::string row = zone != nullptr ? "TZ set" : "TZ unset";
        MeasureRead("Time/fields of GMT read, " + row + "/Utilities", zone, &BqGMTime::timegm);
        MeasureRead("Time/fields of GMT read, " + row + "/C library", zone, &::timegm);
    }
    for (const Case& row : CASES) {
        MeasureOwn(row);
        MeasureHost(row);
#ifdef UTILITIES_HAS_ABSEIL
        MeasureAbseil(row);
#endif
#ifdef UTILITIES_HAS_POCO
        MeasurePoco(row);
#endif
#ifdef UTILITIES_HAS_QT
        MeasureQt(row);
#endif
#ifdef UTILITIES_HAS_GLIB
        MeasureGlib(row);
#endif
    }
    return true;
}();

}  // namespace
