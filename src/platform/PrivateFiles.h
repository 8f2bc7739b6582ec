#pragma once

#include <string>

#include "base/Bytes.h"

/// Files that are the user's own business.
namespace mv::platform {

/// True when other users of this machine may read the file, or change it; its administrators may always. Error 53 when
/// it is missing.
bool OthersMayRead(const std::string& path);

/// The folder in which the programs of this user find each other, without a separator at its end: nobody else can look
/// into it. Made when it is missing. Error 75 when somebody else has put something in its place.
std::string PrivateRuntimeFolder();

/// Writes a file that nobody else can read, at no instant; one of that name is replaced.
void WritePrivateFile(const std::string& path, ByteView content);

/// So many bytes that nobody can guess.
Bytes RandomBytes(std::size_t count);

}  // namespace mv::platform
