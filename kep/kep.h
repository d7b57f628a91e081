// The processor's feature words. Private to the project: libZEL binds to the function when it is loaded, and
// any library that defines it can take this one's place.
#pragma once

/// Asks the processor what it can do. Both words are always defined; there is no failure to report.
/// capabilities: bit value 8 (mask 0x8) is set exactly when SSE and SSE2 are there, the other bits are 0.
/// family: the processor's family number, for diagnosis only.
__attribute__((visibility("default"))) void KEPgetProcessor(int& family, int& capabilities);
