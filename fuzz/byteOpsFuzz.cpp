// Random sequences of Byte operations, each followed by a check of the buffer's invariants
// and, for the operations that define the content, of the content against a plain model.
#include <mlib/byte.h>
#include <mlib/exceptions.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzzInput.h"

namespace {

using mlib::Byte;

// A count that is usually small, sometimes negative.
int nextCount(FuzzInput& in) { return static_cast<int>(static_cast<std::int8_t>(in.next())) % 40; }

void checkInvariants(const Byte& b) {
  if (b.GetLength() < 0 || b.GetLength() > b.GetBufferLength()) __builtin_trap();
  if ((b.GetData() == nullptr) != (b.GetBufferLength() == 0)) __builtin_trap();
}

bool sameContent(const Byte& b, const std::vector<unsigned char>& model) {
  if (static_cast<std::size_t>(b.GetLength()) != model.size()) return false;
  return model.empty() || std::memcmp(b.GetData(), model.data(), model.size()) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in{data, size};
  Byte b;
  std::vector<unsigned char> model;  // valid while `tracked` holds
  bool tracked = true;
  unsigned char scratch[64];
  for (unsigned char& c : scratch) c = in.next();

  while (in.more()) {
    const int n = nextCount(in);
    const int k = n < 0 ? 0 : n;
    switch (in.next() % 14) {
      case 0:
        b.SetData(scratch, k);
        model.assign(scratch, scratch + k);
        tracked = true;
        break;
      case 1:
        b.AppendData(scratch, n);
        model.insert(model.end(), scratch, scratch + k);
        break;
      case 2:
        b += static_cast<unsigned char>(n);
        model.push_back(static_cast<unsigned char>(n));
        break;
      case 3: {
        if (b.GetLength() > (1 << 16)) break;  // doubling again and again runs out of memory
        const Byte copy(b);                    // appending a copy, then the object to itself
        b += copy;
        const std::vector<unsigned char> before(tracked ? model : std::vector<unsigned char>());
        model.insert(model.end(), before.begin(), before.end());
        break;
      }
      case 4:
        b.Reverse();
        std::reverse(model.begin(), model.end());
        break;
      case 5:
        b.AllocBuffer(n);
        if (n > 0) model.clear();
        break;
      case 6:
        b.IncreaseSize(n);
        break;
      case 7:
        (void)b.ToString();
        (void)b.AnsiToUtf8();
        (void)b.Utf8ToAnsi();
        break;
      case 8:
        try {
          (void)b[n];
          if (n < 0 || n >= b.GetLength()) __builtin_trap();
        } catch (mlib::MxBaseException& e) {
          if (e.GetCode() != -4 || (n >= 0 && n < b.GetLength())) __builtin_trap();
        }
        break;
      default:  // operations that leave the content to the buffer's own rules
        tracked = false;
        if ((n + 40) % 4 == 0) b.Trim();
        if ((n + 40) % 4 == 1) b.IncreaseLength(n);
        if ((n + 40) % 4 == 2) b.SetLength(n);
        if ((n + 40) % 4 == 3) {
          b.SetAt(n, 0x41);
          (void)b.GetAt(n);
          (void)b.GetBuffer(n);
        }
    }
    checkInvariants(b);
    if (tracked && !sameContent(b, model)) __builtin_trap();
  }
  return 0;
}
