// The processor's feature words. Private to the project: libZEL binds to the function when it is loaded, and
// any library that defines it can take this one's place.
#pragma once

/// The bit of the capabilities that says that lanes can be used: SSE and SSE2 are there.
constexpr int KEPlaneUnit = 0x8;

/// Asks the processor what it can do. Both words are always defined; there is no failure to report.
/// capabilities: KEPlaneUnit or 0, the other bits are clear.
/// family: the processor's family number, for diagnosis only.
__attribute__((visibility("default"))) void KEPgetProcessor(int& family, int& capabilities);
