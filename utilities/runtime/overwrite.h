/// Writing into a standard string in place.
#ifndef UTILITIES_RUNTIME_OVERWRITE_H
#define UTILITIES_RUNTIME_OVERWRITE_H

#include <cstddef>
#include <string>

namespace runtime {

/// Replaces the content of `text` by what `write` puts at the address that it is called with, up to
/// `capacity` characters. It returns their number and must not throw. If there is no memory for
/// `capacity` characters, the text stays as it was.
///
/// A source that is compiled as C++23 saves the filling with zeros.
template <class Char, class Write>
void Overwrite(std::basic_string<Char>& text, std::size_t capacity, Write write) {
#ifdef __cpp_lib_string_resize_and_overwrite
    text.resize_and_overwrite(capacity, [&](Char* out, std::size_t) { return write(out); });
#else
    text.resize(capacity);
    text.resize(write(text.data()));
#endif
}

}  // namespace runtime

#endif
