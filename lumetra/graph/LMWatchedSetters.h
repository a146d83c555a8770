#pragma once

#include <string>
#include <string_view>
#include <vector>

class LMFilter;

// The naming rule behind redraw marking: a filter's handle watches setters
// named "set" plus the capitalised key plus ":" ("setInputA:" for "inputA"),
// and the generic key-value setter "setValue:forKey:" always marks.
//
// Threads: pure functions of their arguments, except that marking sets the
// filter's redraw flag, which belongs to whichever thread drives its graph.

// Marks `target` for redraw when `setterName` is one of `watched` or is the
// generic key-value setter "setValue:forKey:".
void markTargetIfSelectorIsWatchedMethod(LMFilter* target, std::string_view setterName,
                                         const std::vector<std::string>& watched);
// Whether markTargetIfSelectorIsWatchedMethod would mark for this setter.
bool isWatchedSetter(std::string_view setterName, const std::vector<std::string>& watched);
// "setInputA:" for "inputA"; "set:" for an empty name.
std::string setterNameForKey(std::string_view key);
