// Local files named on the command line (captured files, inventories): what they are, and
// their bytes read with a bound, so that a folder, a device or a FIFO gives a one-line error
// instead of a crash, a hang or a read without end.
#pragma once

#include <cstddef>
#include <string>

namespace cli {

// "" when `path` names a regular file (links followed); otherwise what it is instead, as the
// end of a message: "is a folder", "is a device", "is a FIFO", "is a socket", "no such file or
// folder", or the system's reason.
std::string NotARegularFile(const std::string& path);

// Reads the whole regular file at `path` into `bytes` when it holds at most `limit` bytes.
// False with `error` set to "PATH: reason" otherwise: not a regular file (checked on the open
// file, which never blocks on a FIFO), larger than the limit (told from its size before any
// byte is read, and again while reading, should it grow; the reason is then `tooLarge`, or
// "larger than the N MiB allowed" when it is empty), or unreadable.
bool ReadLocalFile(const std::string& path, std::size_t limit, std::string& bytes, std::string& error,
                   const std::string& tooLarge = "");

// "32 MiB" for a limit of whole mebibytes, else "N bytes".
std::string SizeText(std::size_t bytes);

}  // namespace cli
