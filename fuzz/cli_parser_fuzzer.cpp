// The tool's command-line parser and chain checker on arbitrary argument
// lists: the input is split into arguments at newlines. A usage error is
// the expected answer to nonsense; anything else escaping, or a crash, is a
// bug. No file is read and no GL context is made.

#include "CliError.h"
#include "CommandLine.h"
#include "FilterCatalog.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::vector<std::string> arguments(1);
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == '\n')
            arguments.emplace_back();
        else
            arguments.back() += static_cast<char>(data[i]);
    }
    try {
        const CommandLine line = parseCommandLine(arguments);
        const std::vector<CheckedFilter> chain = checkChain(line.chain);
        // What the checker accepted must be complete enough to build from.
        for (const CheckedFilter& checked : chain) {
            if (!checked.entry && checked.name != "kernel")
                __builtin_trap();
            if (!checked.entry &&
                (!checked.files.count("file") || checked.numbers.size() != checked.kernelControls.size()))
                __builtin_trap();
            // Every required key of a declared filter was given.
            if (checked.entry)
                for (const LMParameter& parameter : checked.entry->declaration->parameters())
                    if (parameter.isRequired() && !parameter.libraryOnly &&
                        parameter.role != LMParameter::Role::Input &&
                        std::none_of(checked.values.begin(), checked.values.end(),
                                     [&](const auto& value) { return value.first == &parameter; }))
                        __builtin_trap();
        }
    } catch (const CliError& error) {
        if (error.status() != CliError::usageStatus)
            __builtin_trap();
    }
    return 0;
}
