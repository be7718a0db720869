/// \file
/// The library's exceptions: MxBaseException, the type the index operators of String and Byte
/// throw (code, level, owned description), and MxException, which adds a call stack and a
/// location, the process-wide registry of error messages and two framed text reports.
#ifndef MLIB_EXCEPTIONS_H
#define MLIB_EXCEPTIONS_H

#include <mlib/config.h>
#include <mlib/object.h>
#include <mlib/string.h>
#include <mlib/syncMap.h>

namespace mlib {

/// Code, severity level and an optional description text that the object owns (every copy
/// its own, on the runtime heap). Thrown by value; catchable as MxBaseException or MxObject.
///
/// Levels: 0 "Info", 1 "Warnning", 2 "Serious", 3 "Fatal", any other value "Unknown".
/// Codes: 0 and the negative codes of the error registry (MxException), or a system error
/// code (GetLastError on Windows, errno elsewhere).
class MLIB_API MxBaseException : public MxObject {
 public:
  /// Stores code and level; the description becomes a private copy of `description` (a null
  /// text leaves it absent). An allocation failure throws std::bad_alloc.
  MxBaseException(int code, int level, const WideChar* description);
  /// Copies code, level and a private copy of the description (absent stays absent).
  MxBaseException(const MxBaseException& other);
  /// Copies code and level and replaces the description by a private copy of `other`'s.
  MxBaseException& operator=(const MxBaseException& other);
  /// Releases the description.
  ~MxBaseException() override;

  /// Stores the code.
  virtual void SetCode(int code);
  /// Stores the level.
  virtual void SetLevel(int level);
  /// The code. A stored code of 0 is first replaced, for good, by the calling thread's last
  /// system error (GetLastError on Windows, errno elsewhere).
  virtual int GetCode();
  /// The level.
  virtual int GetLevel() const;

 protected:
  /// Code 0, level 0, no description; for derived classes that set the rest themselves.
  MxBaseException() noexcept = default;

  int code_ = 0;                     ///< 0, a registry code or a system error code
  int level_ = 0;                    ///< see the level names above
  WideChar* description_ = nullptr;  ///< owned copy on the runtime heap, or null

 private:
  friend class MxException;
};

/// The exported exception class: code, level and description of MxBaseException, plus a call
/// stack and a location text, the error registry and the two framed reports. The library
/// never throws it; hosts make, throw and print it, and the overlapped files hand one to
/// their completion callbacks.
///
/// The registry maps codes to messages for the whole process. It is made, empty, on first
/// use and filled with the built-in entries (0 and -1 to -8) by the first info operation;
/// whenever it has become empty, the next info operation fills it again. The info operations
/// never read or change the exception they are called on, except that GetExceptionInfo()
/// reads its code.
class MLIB_API MxException : public MxBaseException {
 public:
  /// Code 0, level 0, no description, empty call stack and location.
  MxException();
  /// The given code, level 0, otherwise as above.
  explicit MxException(int code);
  /// Code and level as given, no description; copies of the two texts.
  MxException(int code, int level, const String& callStack, const String& location);
  /// Copies code, level, description, call stack and location; every copy owns its texts.
  MxException(const MxException& other);
  /// As the copy constructor, onto *this; self-assignment changes nothing.
  MxException& operator=(const MxException& other);
  /// Releases the location, the call stack and the description.
  ~MxException() override;

  /// The long report, three lines joined by "\r\n" (none after the last):
  ///   74 '-'
  ///   mlib exception { <Code: %d> <Level: %s> <Description: %s> <Call Stack: %s>
  ///     <Location: "%s"> }   (one line)
  ///   74 '-'
  /// with the stored code (not filled from the system), the level name, the message of
  /// GetExceptionInfo(code) (virtual: an override is honoured), the call stack and the
  /// location. Nothing is cut.
  String PrintToString() const override;

  /// Registers `text` for `code` unless the code is already registered. Note the sense of
  /// the result: true when the code was already there (nothing changed), false when the
  /// entry was added.
  virtual bool AddExceptionInfo(int code, const String& text);
  /// Removes the entry of `code`, if there is one.
  virtual void RemoveExceptionInfo(int code);
  /// The registered message for `code`; for a code the registry does not hold, the system's
  /// text for it (FormatErrorCodeToMessage), which may be empty.
  virtual String GetExceptionInfo(int code) const;
  /// The registered message for this exception's stored code; "unknown exception" when the
  /// code is not registered.
  virtual String GetExceptionInfo() const;

  /// The short report of any exception, three lines joined by "\r\n" (none after the last):
  ///   74 '-'
  ///   mlib exception: { Code: %d; Level: %s; Description: %s }
  ///   74 '-'
  /// with e's stored code, level name and description ("(null)" when it has none), cut to
  /// 511 characters. An empty (null) String when `e` is null.
  static String PrintToString(const MxBaseException* e);

  /// The calling thread's last system error (GetLastError on Windows, errno elsewhere).
  static int GetLastError();

  /// The system's text for the error code `code`: on Windows the message table's text, on
  /// other systems the C library's (strerror_r), unchanged (Windows' texts end in "\r\n"),
  /// at most 511 characters. An empty String when the system has no text for the code.
  static String FormatErrorCodeToMessage(int code);

  /// The registry itself, made (empty) on first use; this call does not fill it. It is
  /// destroyed when the library is unloaded or the process ends; a static destructor of the
  /// host that runs after that gets a fresh registry that is never destroyed.
  static SyncMap<int, String>& GetExceptionMap();

 private:
  /// Fills the built-in entries when the registry is empty, under the registry's lock.
  void init() const;

  String callStack_;  ///< the operation or chain of operations that failed
  String location_;   ///< the place or condition of the failure
};

}  // namespace mlib

#endif  // MLIB_EXCEPTIONS_H
