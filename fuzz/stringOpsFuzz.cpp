// Arbitrary texts through String's search, split, replace and editing operations. The
// searches are checked against a plain scan; everything else must simply stay in bounds
// and leave a terminated text.
#include <mlib/string.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

using mlib::String;
using mlib::WideChar;

// Small alphabet: occurrences are frequent, so the searches are really exercised.
std::vector<WideChar> textOf(const std::uint8_t* data, std::size_t size) {
  std::vector<WideChar> text;
  for (std::size_t i = 0; i < size; ++i) text.push_back(static_cast<WideChar>(u'a' + data[i] % 3));
  text.push_back(0);
  return text;
}

int naiveIndexOf(const std::vector<WideChar>& text, const std::vector<WideChar>& pattern) {
  const std::size_t n = text.size() - 1, m = pattern.size() - 1;
  if (m > n) return -1;
  for (std::size_t i = 0; i + m <= n; ++i) {
    std::size_t j = 0;
    while (j < m && text[i + j] == pattern[j]) ++j;
    if (j == m) return static_cast<int>(i);
  }
  return -1;
}

int naiveIndexOfLast(const std::vector<WideChar>& text, const std::vector<WideChar>& pattern) {
  const std::size_t n = text.size() - 1, m = pattern.size() - 1;
  if (m > n) return -1;
  for (std::size_t i = n - m + 1; i-- > 0;) {
    std::size_t j = 0;
    while (j < m && text[i + j] == pattern[j]) ++j;
    if (j == m) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3) return 0;
  const std::size_t patternSize = data[0] % 6 + 1;
  const int from = static_cast<std::int8_t>(data[1]) % 8;
  const int to = static_cast<std::int8_t>(data[2]) % 8;
  data += 3;
  size -= 3;
  if (patternSize > size) return 0;

  const std::vector<WideChar> pattern = textOf(data, patternSize);
  const std::vector<WideChar> text = textOf(data + patternSize, size - patternSize);

  String s(text.data());
  if (text.size() > 1) {
    if (s.IndexOf(pattern.data()) != naiveIndexOf(text, pattern)) __builtin_trap();
    if (s.IndexOfLast(pattern.data()) != naiveIndexOfLast(text, pattern)) __builtin_trap();
  }
  (void)s.GetCountOfSubString(pattern.data());
  (void)s.IndexOfSubString(pattern.data(), from);
  (void)s.GetSubStringBySplit(pattern.data(), from, to);
  (void)s.GetSubString(from, to);
  (void)s.Left(static_cast<unsigned>(to));
  (void)s.Right(static_cast<unsigned>(from));

  String edited(text.data());
  edited.Replace(pattern.data(), MLIB_T("xy"));
  edited.Trim();
  edited.Reverse();
  edited.MakeUpper();
  (void)edited.GetLength();
  (void)edited.toAnsi();
  return 0;
}
