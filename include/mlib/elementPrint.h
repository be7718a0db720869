/// \file
/// How the containers treat an element by its type, decided at compile time: which types are
/// plain values (zero-filled when a map node is made or turned into a leaf), which types a
/// list prints, and ElementToString, the text of one element.
#ifndef MLIB_ELEMENTPRINT_H
#define MLIB_ELEMENTPRINT_H

#include <mlib/config.h>
#include <mlib/string.h>

#include <string>
#include <type_traits>

namespace mlib {

/// The text of one element, by the element's exact type (a type matches only itself and its
/// aliases; signed char, unsigned long, bool and unlisted classes match nothing):
///   String                        a copy
///   std::string                   its characters as ANSI text
///   char                          signed decimal ("%d"), so the byte 0xE9 gives -23
///   WideChar                      the UTF-16 unit as a number 0..65535
///   unsigned char, short, int,
///   unsigned short                signed decimal of the value
///   long long / unsigned long long, unsigned int
///                                 decimal of the whole value
///   long                          decimal of the whole value, at the type's full width
///   float, double                 fixed point with six decimals ("1.500000")
///   char*, unsigned char* (const or not)   ANSI text to UTF-16; null gives a null String
///   WideChar* (const or not)      a copy of the text; null gives a null String
///   anything else                 a null String
template <typename T>
String ElementToString(const T& element);

namespace detail {

template <typename T, typename... Listed>
inline constexpr bool kIsOneOf = (std::is_same_v<T, Listed> || ...);

/// Element types whose map key or value is zero-filled when a node is made or becomes a leaf.
template <typename T>
inline constexpr bool kIsPlainValue =
    kIsOneOf<T, char, WideChar, unsigned char, short, int, long long, unsigned short, unsigned int,
             unsigned long long, long, float, double, char*, WideChar*, void*, unsigned char*,
             short*, int*, long long*, unsigned short*, unsigned int*, unsigned long long*, long*,
             float*, double*, const char*, const WideChar*, const void*, const unsigned char*,
             const short*, const int*, const long long*, const unsigned short*, const unsigned int*,
             const unsigned long long*, const long*, const float*, const double*>;

/// Element types a list prints element by element; every other list prints MxObject's text.
template <typename T>
inline constexpr bool kIsPrintable =
    kIsOneOf<T, char, WideChar, unsigned char, short, int, long long, unsigned short, unsigned int,
             unsigned long long, long, float, double, char*, WideChar*, unsigned char*, const char*,
             const WideChar*, const unsigned char*, String, std::string>;

/// Zero-fills value when T is a plain value type; leaves any other value as it is.
template <typename T>
void zeroFillPlain(T& value) noexcept {
  if constexpr (kIsPlainValue<T>) value = T{};
}

}  // namespace detail

// ---- Implementation ----------------------------------------------------------------------

template <typename T>
String ElementToString(const T& element) {
  if constexpr (std::is_same_v<T, String>) {
    return element;
  } else if constexpr (std::is_same_v<T, std::string>) {
    String text;
    text = element;
    return text;
  } else if constexpr (std::is_same_v<T, char>) {
    String text;
    text.Format(MLIB_T("%d"), static_cast<int>(element));
    return text;
  } else if constexpr (detail::kIsOneOf<T, WideChar, unsigned char, short, int, unsigned short>) {
    return String(static_cast<int>(element));
  } else if constexpr (detail::kIsOneOf<T, long long, long>) {
    return String(static_cast<long long>(element));
  } else if constexpr (std::is_same_v<T, unsigned long long>) {
    return String(element);
  } else if constexpr (std::is_same_v<T, unsigned int>) {
    return String(element);
  } else if constexpr (detail::kIsOneOf<T, float, double>) {
    return String(element, -1);
  } else if constexpr (detail::kIsOneOf<T, char*, const char*>) {
    return String(static_cast<const char*>(element));
  } else if constexpr (detail::kIsOneOf<T, WideChar*, const WideChar*>) {
    return String(static_cast<const WideChar*>(element));
  } else if constexpr (detail::kIsOneOf<T, unsigned char*, const unsigned char*>) {
    return String(static_cast<const unsigned char*>(element));
  } else {
    (void)element;
    return String();
  }
}

}  // namespace mlib

#endif  // MLIB_ELEMENTPRINT_H
