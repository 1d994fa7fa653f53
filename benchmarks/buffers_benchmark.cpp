// Tagged values as big-endian bytes and back, beside the streams of Qt and Poco and the two
// instructions that it takes.
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#ifdef UTILITIES_HAS_BOOST
#include <boost/endian/conversion.hpp>
#endif
#ifdef UTILITIES_HAS_POCO
#include <Poco/BinaryReader.h>
#include <Poco/BinaryWriter.h>
#include <Poco/MemoryStream.h>
#endif
#ifdef UTILITIES_HAS_QT
#include <QByteArray>
#include <QDataStream>
#include <QIODevice>
#endif

#include "benchmarks/measure.h"
#include "utilities/values/multitype.h"

namespace {

using Bytes = unsigned char[8];

#ifdef UTILITIES_HAS_POCO
/// A stream over eight bytes, made once; each use begins at its start.
struct PocoWriter {
    char bytes[8];
    Poco::MemoryOutputStream stream{bytes, sizeof bytes};
    Poco::BinaryWriter writer{stream, Poco::BinaryWriter::NETWORK_BYTE_ORDER};
};

struct PocoReader {
    explicit PocoReader(const std::uint64_t& number) { std::memcpy(bytes, &number, sizeof bytes); }
    char bytes[8];
    Poco::MemoryInputStream stream{bytes, sizeof bytes};
    Poco::BinaryReader reader{stream, Poco::BinaryReader::NETWORK_BYTE_ORDER};
};
#endif

void MeasureWriteBytes(__int64 number) {
    const std::string name = "Bytes/8-byte integer written/";
    MeasureInto<Bytes>(name + "Utilities", MultiType(number),
                       [](Bytes& target, const MultiType& value) {
                           unsigned int size = sizeof target;
                           return value.GetBigEndianFormatted(target, size, nullptr, nullptr);
                       });
    MeasureInto<Bytes>(name + "by hand", number, [](Bytes& target, const __int64& value) {
        const auto swapped = __builtin_bswap64(static_cast<std::uint64_t>(value));
        std::memcpy(target, &swapped, sizeof swapped);
    });
#ifdef UTILITIES_HAS_BOOST
    MeasureInto<Bytes>(name + "Boost", number, [](Bytes& target, const __int64& value) {
        boost::endian::store_big_s64(target, value);
    });
#endif
#ifdef UTILITIES_HAS_POCO
    MeasureInto<PocoWriter>(name + "Poco", number, [](PocoWriter& target, const __int64& value) {
        target.stream.seekp(0);
        target.writer << Poco::Int64{value};
    });
#endif
#ifdef UTILITIES_HAS_QT
    MeasureInto<QByteArray>(name + "Qt", number, [](QByteArray& target, const __int64& value) {
        QDataStream(&target, QIODevice::WriteOnly) << value;
    });
#endif
}

void MeasureReadBytes(__int64 number) {
    const std::string name = "Bytes/8-byte integer read/";
    const auto swapped = __builtin_bswap64(static_cast<std::uint64_t>(number));
    MeasureInto<MultiType>(
        name + "Utilities", swapped, [](MultiType& target, const std::uint64_t& bytes) {
            return target.SetBigEndianFormatted(&bytes, sizeof bytes, MultiType::TYPE_INT64, 0);
        });
    MeasureInto<std::uint64_t>(name + "by hand", swapped,
                               [](std::uint64_t& target, const std::uint64_t& bytes) {
                                   std::memcpy(&target, &bytes, sizeof target);
                                   target = __builtin_bswap64(target);
                               });
#ifdef UTILITIES_HAS_BOOST
    MeasureInto<__int64>(name + "Boost", swapped, [](__int64& target, const std::uint64_t& bytes) {
        target = boost::endian::load_big_s64(reinterpret_cast<const unsigned char*>(&bytes));
    });
#endif
#ifdef UTILITIES_HAS_POCO
    const auto poco = std::make_shared<PocoReader>(swapped);
    MeasureInto<Poco::Int64>(name + "Poco", poco,
                             [](Poco::Int64& target, const std::shared_ptr<PocoReader>& source) {
                                 source->stream.seekg(0);
                                 source->reader >> target;
                             });
#endif
#ifdef UTILITIES_HAS_QT
    const QByteArray array(reinterpret_cast<const char*>(&swapped), sizeof swapped);
    MeasureInto<qint64>(name + "Qt", array, [](qint64& target, const QByteArray& bytes) {
        QDataStream(bytes) >> target;
    });
#endif
}

const bool REGISTERED = [] {
    constexpr __int64 LARGE = 123456789012345;
    MeasureWriteBytes(LARGE);
    MeasureReadBytes(LARGE);
    return true;
}();

}  // namespace
