#pragma once

#include "base/Date.h"
#include "jet/file/PageFile.h"

namespace mv::jet {

/// Fills a file of no pages with an empty database of 16 pages: the header, the map of free pages, the four system
/// tables with their rows. Page by page it is what Jet itself makes, but for the time and for bytes that Jet leaves
/// uninitialised (zero here).
///
///   0 header                         6 maps of the system tables (31 rows)
///   1 maps of free pages             7-13 index roots: 7, 8 MSysObjects, 9 MSysACEs, 10 MSysQueries, 11-13
///   2-5 definitions of the              MSysRelationships
///       system tables               14 rows of MSysObjects, 15 rows of MSysACEs
///
/// `created` becomes the creation date of the file and of its objects.
void FillNewDatabase(PageFile& file, Date created);

}  // namespace mv::jet
