/// The flat form of a catalogue: one stream of bytes, numbers with the most significant byte first.
#ifndef CATALOG_RECORD_H
#define CATALOG_RECORD_H

#include <string>
#include <utility>
#include <vector>

#include "entry.h"

/// The flat form.
std::string Flattened(const Catalogue& catalogue);

/// Reads a flat form to its end. False if it isn't one: it is cut off, something has no meaning, or
/// trees or entries are out of order.
bool ReadFlat(const std::string& flat, Catalogue& catalogue);

/// How many trees and entries a catalogue has.
unsigned __int64 CountEntries(const Catalogue& catalogue);

/// Writes numbers and texts one after the other.
class FieldWriter {
public:
    explicit FieldWriter(std::string& target) : m_Target(target) {}

    template <class Number>
    void Write(Number number) {
        char bytes[sizeof(Number)];
        for (std::size_t place = sizeof(Number); place > 0; --place) {
            bytes[place - 1] = static_cast<char>(number);
            number = static_cast<Number>(static_cast<unsigned __int64>(number) >> 8);
        }
        m_Target.append(bytes, sizeof(Number));
    }

    /// Writes the length, then the bytes.
    void WriteText(const std::string& text);

private:
    std::string& m_Target;
};

/// Reads them in the same order. What isn't there reads as 0 and is remembered.
class FieldReader {
public:
    FieldReader(const char* source, std::size_t sourceSize) : m_Rest(source), m_Size(sourceSize) {}

    template <class Number>
    Number Read() {
        const char* const bytes = Take(sizeof(Number));
        unsigned __int64 number = 0;
        for (std::size_t place = 0; bytes != nullptr && place < sizeof(Number); ++place)
            number = number << 8 | static_cast<unsigned char>(bytes[place]);
        return static_cast<Number>(number);
    }
    std::string ReadText();
    void ReadBytes(char* target, std::size_t size);

    bool HasFailed() const { return m_HasFailed; }
    bool IsAtEnd() const { return m_Size == 0; }

private:
    /// The next bytes; null if there are fewer.
    const char* Take(std::size_t size) {
        m_HasFailed = m_HasFailed || size > m_Size;
        if (m_HasFailed)
            return nullptr;
        m_Size -= size;
        return std::exchange(m_Rest, m_Rest + size);
    }

    const char* m_Rest;
    std::size_t m_Size;
    bool m_HasFailed = false;
};

#endif
