#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace Quilt::Storage {

/// Opens a file as `open` does, but never as one of the standard streams: where one of those is
/// closed, a message would go into the file. Closed on `exec`. \return -1, with the reason in
/// `errno`, if that failed.
int openAboveStreams(const char* path, int flags, unsigned mode);

/// Reads the bytes from `address` on, as far as the file has them.
/// \param target becomes what was not filled.
/// \return false, with the reason in `errno`, if reading failed.
bool readAt(int descriptor, std::uint64_t address, std::span<std::byte>& target);

/// Has the file system find the room for bytes that are going to be written: all at once takes it
/// less time than page by page. Where it can't, nothing happens.
void makeRoom(int descriptor, std::uint64_t address, std::uint64_t bytes);

/// Writes all of the bytes. \return false, with the reason in `errno`, if that failed.
bool writeAt(int descriptor, std::uint64_t address, std::span<const std::byte> bytes);

}  // namespace Quilt::Storage
