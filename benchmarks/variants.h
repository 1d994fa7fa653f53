/// The same content in our value class and in those that it is measured beside.
#ifndef BENCHMARKS_VARIANTS_H
#define BENCHMARKS_VARIANTS_H

#include <string>
#include <variant>
#ifdef UTILITIES_HAS_POCO
#include <Poco/Dynamic/Var.h>
#endif
#ifdef UTILITIES_HAS_QT
#include <QString>
#include <QVariant>
#endif

#include "utilities/values/multitype.h"

/// Holds what a `MultiType` can hold, as one would write it by hand for one program.
using Variant = std::variant<std::monostate, bool, signed char, short, int, long long,
                             unsigned char, unsigned short, unsigned int, unsigned long long, float,
                             double, std::string, std::u16string>;

#ifdef UTILITIES_HAS_QT
inline QVariant ForQt(const std::string& text) { return QString::fromStdString(text); }
template <class Number>
QVariant ForQt(Number value) {
    return value;
}
#endif

inline MultiType ForUs(const std::string& text) { return text.c_str(); }
template <class Number>
MultiType ForUs(Number value) {
    return value;
}

/// The same content in each of the classes.
struct Forms {
    template <class Content>
    Forms(const Content& content)
        : own(ForUs(content)),
          standard(content)
#ifdef UTILITIES_HAS_POCO
          ,
          poco(content)
#endif
#ifdef UTILITIES_HAS_QT
          ,
          qt(ForQt(content))
#endif
    {
    }

    MultiType own;
    Variant standard;
#ifdef UTILITIES_HAS_POCO
    Poco::Dynamic::Var poco;
#endif
#ifdef UTILITIES_HAS_QT
    QVariant qt;
#endif
};

#endif
