#pragma once

namespace Velkori_Utility {

// How many snapshots each end of a stream keeps. It also decides the widths of fields in every record, so
// both ends have to agree on it.
inline constexpr int ShortestRing = 254;
inline constexpr int LongestRing = 800;

} // namespace Velkori_Utility
