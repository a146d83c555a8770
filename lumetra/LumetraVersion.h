#pragma once

// The library's version, for hosts that check what they linked against.
extern "C" {
extern const double LumetraVersionNumber;
extern const unsigned char LumetraVersionString[];
}
