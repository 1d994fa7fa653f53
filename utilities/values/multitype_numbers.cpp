#include "utilities/values/multitype.h"

#include <cstring>

#include "utilities/values/conversion_internal.h"
#include "utilities/values/kinds_internal.h"

using kinds::Datum;

namespace {

/// Reads the datum of a kind as a number, one function for each sort of kind. With a number that
/// isn't a tag, `out` stays as it is.
template <class To>
void Read(kinds::NoKind, const Datum&, To&) {}

template <class To>
void Read(kinds::Nothing, const Datum&, To& out) {
    out = To();
}

/// The first bytes of the block as they are, or 0 if it has fewer than the number.
template <class To>
void Read(kinds::Block, const Datum& held, To& out) {
    const unsigned char* data = held.r->Data();
    if constexpr (std::is_same_v<To, bool>)
        out = held.r->size >= 1 && data[0] != 0;
    else if (held.r->size >= sizeof out)
        std::memcpy(&out, data, sizeof out);
    else
        out = To();
}

/// A byte above 1 is copied to a `bool` unchanged. Loading it as a `bool` would be undefined.
template <class To>
void Read(kinds::Boolean, const Datum& held, To& out) {
    if constexpr (std::is_same_v<To, bool>)
        std::memcpy(&out, &held.b, sizeof out);
    else
        out = static_cast<To>(held.b != 0);
}

template <class To, class From, auto HELD>
void Read(kinds::Number<From, HELD>, const Datum& held, To& out) {
    out = conversion::FromNumber<To>(held.*HELD);
}

template <class To, class From, auto HELD>
void Read(kinds::Text<From, HELD>, const Datum& held, To& out) {
    out = conversion::FromText<To>(*(held.*HELD));
}

template <class To>
void ReadNumber(MultiType::TYPE type, const Datum& held, To& out) {
    kinds::Visit(type, [&](auto kind) { Read(kind, held, out); });
}

}  // namespace

void MultiType::Get(bool& out) const { ReadNumber(m_type, m_v, out); }
void MultiType::Get(char& out) const { ReadNumber(m_type, m_v, out); }
void MultiType::Get(short& out) const { ReadNumber(m_type, m_v, out); }
void MultiType::Get(int& out) const { ReadNumber(m_type, m_v, out); }
void MultiType::Get(__int64& out) const { ReadNumber(m_type, m_v, out); }
void MultiType::Get(unsigned char& out) const { ReadNumber(m_type, m_v, out); }
void MultiType::Get(unsigned short& out) const { ReadNumber(m_type, m_v, out); }
void MultiType::Get(unsigned int& out) const { ReadNumber(m_type, m_v, out); }
void MultiType::Get(unsigned __int64& out) const { ReadNumber(m_type, m_v, out); }
void MultiType::Get(float& out) const { ReadNumber(m_type, m_v, out); }
void MultiType::Get(double& out) const { ReadNumber(m_type, m_v, out); }
