/// The flat form of a catalogue: one stream of bytes, numbers with the most significant byte first.
#ifndef CATALOG_RECORD_H
#define CATALOG_RECORD_H

#include <string>
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

    void Write(const MultiType& number);

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
        constexpr MultiType::TYPE TYPE = TypeOf(Number());
        const char* const bytes = Take(sizeof(Number));
        MultiType value(Number(0));
        if (bytes != nullptr)
            value.SetBigEndianFormatted(bytes, sizeof(Number), TYPE, 0);
        return value.GetAs<Number>();
    }
    std::string ReadText();
    void ReadBytes(char* target, std::size_t size);

    bool HasFailed() const { return m_HasFailed; }
    bool IsAtEnd() const { return m_Size == 0; }

private:
    static constexpr MultiType::TYPE TypeOf(unsigned char) { return MultiType::TYPE_UCHAR; }
    static constexpr MultiType::TYPE TypeOf(unsigned short) { return MultiType::TYPE_USHORT; }
    static constexpr MultiType::TYPE TypeOf(unsigned int) { return MultiType::TYPE_UINT; }
    static constexpr MultiType::TYPE TypeOf(__int64) { return MultiType::TYPE_INT64; }
    static constexpr MultiType::TYPE TypeOf(unsigned __int64) { return MultiType::TYPE_UINT64; }

    const char* Take(std::size_t size);

    const char* m_Rest;
    std::size_t m_Size;
    bool m_HasFailed = false;
};

#endif
