// Instants to local dates, times of day and texts, beside the common frameworks and the C library.
// Each conversion of the library takes the mutex, and the one to local time is made twice.
#include <benchmark/benchmark.h>
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
#include <sstream>
#include <string>
#include <thread>

#include "benchmarks/measure.h"
#include "utilities/time/bqtime.h"

namespace {

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
}

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

const bool REGISTERED = [] {
    // The C library's locks are cheaper as long as there has been one thread only.
    std::thread([] {}).join();
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
    for (const Case& row : CASES) {
        MeasureOwn(row);
        MeasureHost(row);
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
