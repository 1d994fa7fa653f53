#include <cstring>

#include "utilities/values/conversion_internal.h"
#include "utilities/values/multitype.h"

using conversion::FromNumber;
using conversion::FromText;

namespace {

/// The bytes at the start of a block as they stand, or 0 where it is shorter than a `T`.
template <class T>
T FirstBytes(const unsigned char* data, unsigned int size) {
    if constexpr (std::is_same_v<T, bool>) {
        return size >= 1 && data[0] != 0;
    } else {
        T result{};
        if (size >= sizeof result)
            std::memcpy(&result, data, sizeof result);
        return result;
    }
}

}  // namespace

template <class T>
void MultiType::Read(T& out) const {
    switch (m_type) {
        case TYPE_INVALID:
            out = T();
            break;
        case TYPE_RAW:
            out = FirstBytes<T>(m_v.r->Data(), m_v.r->size);
            break;
        case TYPE_BOOL:
            // A byte above 1 passes through; it must not be loaded as a `bool` here.
            if constexpr (std::is_same_v<T, bool>)
                std::memcpy(&out, &m_v.b, sizeof out);
            else
                out = static_cast<T>(m_v.b != 0);
            break;
        case TYPE_CHAR:
            out = FromNumber<T>(m_v.c);
            break;
        case TYPE_SHORT:
            out = FromNumber<T>(m_v.sh);
            break;
        case TYPE_INT:
            out = FromNumber<T>(m_v.i);
            break;
        case TYPE_INT64:
            out = FromNumber<T>(m_v.ll);
            break;
        case TYPE_UCHAR:
            out = FromNumber<T>(m_v.uc);
            break;
        case TYPE_USHORT:
            out = FromNumber<T>(m_v.ush);
            break;
        case TYPE_UINT:
            out = FromNumber<T>(m_v.ui);
            break;
        case TYPE_UINT64:
            out = FromNumber<T>(m_v.ull);
            break;
        case TYPE_FLOAT:
            out = FromNumber<T>(m_v.f);
            break;
        case TYPE_DOUBLE:
            out = FromNumber<T>(m_v.d);
            break;
        case TYPE_STRING:
            out = FromText<T>(*m_v.str);
            break;
        case TYPE_WSTRING:
            out = FromText<T>(*m_v.wstr);
            break;
        default:
            break;
    }
}

void MultiType::Get(bool& out) const { Read(out); }
void MultiType::Get(char& out) const { Read(out); }
void MultiType::Get(short& out) const { Read(out); }
void MultiType::Get(int& out) const { Read(out); }
void MultiType::Get(__int64& out) const { Read(out); }
void MultiType::Get(unsigned char& out) const { Read(out); }
void MultiType::Get(unsigned short& out) const { Read(out); }
void MultiType::Get(unsigned int& out) const { Read(out); }
void MultiType::Get(unsigned __int64& out) const { Read(out); }
void MultiType::Get(float& out) const { Read(out); }
void MultiType::Get(double& out) const { Read(out); }
