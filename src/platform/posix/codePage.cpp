// The POSIX stand-ins for MultiByteToWideChar and WideCharToMultiByte, and the library's
// own ANSI code page setting. Generic POSIX code only: the converters themselves live in
// codePageSingleByte.cpp, codePageDoubleByte.cpp and codePageUtf8.cpp.
#if defined(_WIN32)
#error "posix backend built for Windows"
#endif

#include "platform/codePage.h"

#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "platform/posix/codePageCodecs.h"
#include "platform/process.h"

namespace mlib::platform {
namespace {

struct Codec {
  unsigned codePage;
  detail::ToWideFn toWide;
  detail::FromWideFn fromWide;
};

// Every code page Windows can have as its active ANSI page, and UTF-8; each of them can be
// the library's ANSI code page.
constexpr Codec kCodecs[] = {
    {1252, detail::singleByteToWide<1252>, detail::singleByteFromWide<1252>},
    {936, detail::doubleByteToWide<936>, detail::doubleByteFromWide<936>},
    {kUtf8CodePage, detail::utf8ToWide, detail::utf8FromWide},
    {932, detail::doubleByteToWide<932>, detail::doubleByteFromWide<932>},
    {949, detail::doubleByteToWide<949>, detail::doubleByteFromWide<949>},
    {950, detail::doubleByteToWide<950>, detail::doubleByteFromWide<950>},
    {874, detail::singleByteToWide<874>, detail::singleByteFromWide<874>},
    {1250, detail::singleByteToWide<1250>, detail::singleByteFromWide<1250>},
    {1251, detail::singleByteToWide<1251>, detail::singleByteFromWide<1251>},
    {1253, detail::singleByteToWide<1253>, detail::singleByteFromWide<1253>},
    {1254, detail::singleByteToWide<1254>, detail::singleByteFromWide<1254>},
    {1255, detail::singleByteToWide<1255>, detail::singleByteFromWide<1255>},
    {1256, detail::singleByteToWide<1256>, detail::singleByteFromWide<1256>},
    {1257, detail::singleByteToWide<1257>, detail::singleByteFromWide<1257>},
    {1258, detail::singleByteToWide<1258>, detail::singleByteFromWide<1258>},
};

constexpr unsigned kDefaultAnsiCodePage = 1252;

const Codec* findCodec(unsigned codePage) noexcept {
  for (const Codec& codec : kCodecs) {
    if (codec.codePage == codePage) return &codec;
  }
  return nullptr;
}

bool canBeAnsi(unsigned codePage) noexcept { return findCodec(codePage) != nullptr; }

std::atomic<unsigned> gAnsiCodePage{kDefaultAnsiCodePage};
std::atomic<bool> gEnvironmentRead{false};
std::once_flag gEnvironmentOnce;

// MLIB_ANSI_CODEPAGE, a decimal code page number, counts once, before the first answer or
// change; a value that is not a number or not a supported ANSI code page is ignored.
void readEnvironment() noexcept {
  // The flag spares the hot path std::call_once's own bookkeeping on every conversion.
  if (gEnvironmentRead.load(std::memory_order_acquire)) return;
  std::call_once(gEnvironmentOnce, [] {
    const char* const text = std::getenv("MLIB_ANSI_CODEPAGE");
    if (text != nullptr && *text != '\0') {
      char* end = nullptr;
      const unsigned long value = std::strtoul(text, &end, 10);
      if (*end == '\0' && value <= UINT_MAX && canBeAnsi(static_cast<unsigned>(value))) {
        gAnsiCodePage.store(static_cast<unsigned>(value), std::memory_order_relaxed);
      }
    }
    gEnvironmentRead.store(true, std::memory_order_release);
  });
}

const Codec* resolve(unsigned codePage) noexcept {
  return findCodec(codePage == kAnsiCodePage ? ansiCodePage() : codePage);
}

int fail(int error) noexcept {
  setLastError(error);
  return 0;
}

// The count of a finished conversion as the int the contract returns. Only a count past
// INT_MAX (over 1 GiB of UTF-16 text turning into UTF-8) cannot be told; it fails as a bad
// argument.
int finish(detail::Converted result) noexcept {
  if (!result.complete) return fail(kErrorInsufficientBuffer);
  if (result.count > static_cast<std::size_t>(INT_MAX)) return fail(kErrorInvalidParameter);
  return static_cast<int>(result.count);
}

// Length -1 stands for zero-terminated text, the terminator included.
std::size_t sourceLength(const char* src, int srcBytes) noexcept {
  return srcBytes == -1 ? std::strlen(src) + 1 : static_cast<std::size_t>(srcBytes);
}

std::size_t sourceLength(const WideChar* src, int srcUnits) noexcept {
  if (srcUnits != -1) return static_cast<std::size_t>(srcUnits);
  std::size_t unitCount = 0;
  while (src[unitCount] != 0) ++unitCount;
  return unitCount + 1;
}

}  // namespace

int multiByteToWide(unsigned codePage, const char* src, int srcBytes, WideChar* dst,
                    int dstUnits) noexcept {
  if (src == nullptr || srcBytes == 0 || srcBytes < -1 || dstUnits < 0 ||
      (dstUnits > 0 && dst == nullptr)) {
    return fail(kErrorInvalidParameter);
  }
  const Codec* const codec = resolve(codePage);
  if (codec == nullptr) return fail(kErrorInvalidParameter);
  return finish(codec->toWide(reinterpret_cast<const unsigned char*>(src),
                              sourceLength(src, srcBytes), dstUnits == 0 ? nullptr : dst,
                              static_cast<std::size_t>(dstUnits)));
}

int wideToMultiByte(unsigned codePage, const WideChar* src, int srcUnits, char* dst,
                    int dstBytes) noexcept {
  if (src == nullptr || srcUnits == 0 || srcUnits < -1 || dstBytes < 0 ||
      (dstBytes > 0 && dst == nullptr)) {
    return fail(kErrorInvalidParameter);
  }
  const Codec* const codec = resolve(codePage);
  if (codec == nullptr) return fail(kErrorInvalidParameter);
  return finish(codec->fromWide(src, sourceLength(src, srcUnits),
                                dstBytes == 0 ? nullptr : reinterpret_cast<unsigned char*>(dst),
                                static_cast<std::size_t>(dstBytes)));
}

unsigned ansiCodePage() noexcept {
  readEnvironment();
  return gAnsiCodePage.load(std::memory_order_relaxed);
}

bool setAnsiCodePage(unsigned codePage) noexcept {
  if (!canBeAnsi(codePage)) return false;
  // The environment is read first, so it can never undo a later change.
  readEnvironment();
  gAnsiCodePage.store(codePage, std::memory_order_relaxed);
  return true;
}

}  // namespace mlib::platform
