#pragma once

#include <memory>

// Lets go of a node that one node held (an input, a proxy's filter) without
// recursion. Destroying the last owner of a chain would otherwise destroy
// each node inside the destructor of the one before, one stack frame per
// node, and a chain of 100,000 filters would overflow the stack. The first
// release on a thread drains a list: a node destroyed there hands what it
// held back to the list instead of destroying it in place, so the stack
// depth stays constant whatever the length of the chain.
void LMReleaseLater(std::shared_ptr<const void> held);
