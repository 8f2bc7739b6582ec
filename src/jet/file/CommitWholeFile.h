#pragma once

#include <functional>
#include <memory>
#include <string>

#include "jet/file/Page.h"
#include "platform/FileSystem.h"

namespace mv::jet {

/// Fills `out`, whole pages, with the pages from `first` on.
using PageReader = std::function<void(PageNumber first, ByteSpan out)>;

/// Makes a database durable as a complete new file in the place of the old one: the file under its name is whole at
/// every instant, for any reader. Costs one pass over all pages, however few have changed.
///
/// `current` is the old file as it is held, or null when there is none; `read` may still read from it. Returns the new
/// one, held likewise. When it raises the old file is in place, and `current` is null where the system had to let go
/// of it. The file system's errors.
std::unique_ptr<platform::File> CommitWholeFile(platform::FileSystem& files, const std::string& path,
                                                std::unique_ptr<platform::File>& current, PageNumber pageCount,
                                                const PageReader& read);

}  // namespace mv::jet
