// The wide string: building one from wide and ANSI text and from numbers, appending,
// formatting, and reading it back as ANSI text.
#include <mlib/mlib.h>

#include <cstdio>

#include "demo.h"

void demoString() {
  std::printf("\n-- String: storage and Format --\n");

  mlib::String greeting(MLIB_T("Hello"));
  greeting += ", ";  // ANSI text, converted on the way in
  greeting += mlib::String("world");
  greeting += mlib::WideChar('!');
  std::printf("built:     \"%s\" (%d units)\n", demoUtf8(greeting).c_str(), greeting.GetLength());

  const mlib::String count(42);          // a number's text, with room to grow in place
  const mlib::String pi(3.14159, 2);     // decimals cut, not rounded
  const mlib::String big(4294967301LL);  // all 64 bits
  std::printf("numbers:   %s, %s, %s\n", demoUtf8(count).c_str(), demoUtf8(pi).c_str(),
              demoUtf8(big).c_str());

  mlib::String message;
  message.Format(MLIB_T("%s has %d items at %f each (flags %X, %c%c)"), greeting.toString(), 3, 2.5,
                 0xAB, 'o', 'k');
  std::printf("formatted: \"%s\"\n", demoUtf8(message).c_str());
  std::printf("as ANSI:   \"%s\" (%d bytes)\n", message.toAnsi(), message.GetAnsiLength());
  std::printf("\"world\" found at index %d\n", greeting.IndexOf(MLIB_T("world")));

  const mlib::String none;
  std::printf("null string: IsNull %d, IsEmpty %d, equal to another null string: %d\n",
              none.IsNull(), none.IsEmpty(), none == mlib::String());
}
