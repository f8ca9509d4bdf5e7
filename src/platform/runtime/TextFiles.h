// The runtime's numbered sequential text files, in the single-byte code page. Numbers go from 1 to 511 and
// belong to the calling thread. Paths are native ones in UTF-16. Failures are RuntimeErrors with the
// operating system's error as lastDllError: 6 a line too long, 52 a number out of range or not open, 53 no
// such file, 54 read from a file open for writing or the other way round, 55 a number that is open already,
// 57 and 61 the device failed or is full, 62 read at the end of the file, 67 too many files, 70 permission
// denied, 75 not a file that can be opened, 76 no such directory.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/runtime/OsFile.h"

namespace vqloan::files {

using os::Place;

// A line that is longer is not read from a file in a shared directory: 6.
inline constexpr std::size_t longestSharedLine = 1024 * 1024;

// The lowest number that is not open. 67 when none is.
std::int32_t freeNumber();

void openForReading(std::int32_t number, std::u16string_view path, Place place = Place::own);
// In a shared directory, and false where that fails or the file is spent: for what is looked for again and
// again, where a failure each time would cost more than the look.
bool tryOpenForReading(std::int32_t number, std::u16string_view path);
// Creates the file, or empties one that exists.
void openForWriting(std::int32_t number, std::u16string_view path, Place place = Place::own);

// The text up to the next CR or the end of the file; a CR, or CR LF, ends a line and is taken away, a lone LF
// is part of the line. Valid until the file is read again or closed.
std::u16string_view readLine(std::int32_t number);
bool atEnd(std::int32_t number);
// The text and CR LF.
void writeLine(std::int32_t number, std::u16string_view line);

// What was written is handed to the operating system here at the latest: 57 or 61 when it does not take it;
// the number is free afterwards all the same. A number that is not open is left alone.
void close(std::int32_t number);
// Closes every file of the thread; failures are ignored.
void closeAll() noexcept;

// Deletes a file: 53, 70, 75, 76.
void remove(std::u16string_view path);
// True for a file that this thread could not delete, as long as nobody has changed it: whoever waits for a
// new file of that name must not take it for one. It is deleted here where that goes by now.
bool isSpent(std::u16string_view path);

} // namespace vqloan::files
