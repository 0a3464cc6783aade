// SPDX-License-Identifier: MIT
// The growing-buffer read of the running module's file name (GetModuleFileNameW on
// Windows), apart from the operating-system call so that its budget can be tested.
// Standard C++ only. Internal; never installed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Orrery {
namespace Platform {

/**
 * Reads a module file name through @p query(buffer, size), which answers like
 * GetModuleFileNameW: the number of units written, @p size when the name was cut
 * short, 0 on failure.
 *
 * The buffer starts at 260 UTF-16 units and is doubled while the name fills it, with a
 * budget of eight doublings. A failed call gives "", and so does a complete name
 * returned by the call made when the budget has just reached zero; after a ninth
 * doubling the name is taken as it stands, cut short or not.
 */
template <typename Query>
std::wstring readModuleName(Query query) {
    std::uint32_t size = 260;
    int budget = 8;
    std::vector<wchar_t> buffer(size);
    while (true) {
        const std::uint32_t length = query(buffer.data(), size);
        if (length == 0) {
            return {};
        }
        if (length < size) {
            if (budget == 0) {
                // A complete name from the call made as the budget ran out is refused.
                return {};
            }
            return std::wstring(buffer.data(), length);
        }
        if (budget < 0) {
            // Past the ninth doubling the name is taken as it stands; a boundary kept on purpose.
            return std::wstring(buffer.data(), size);
        }
        --budget;
        size *= 2;
        buffer.assign(size, L'\0');
    }
}

}  // namespace Platform
}  // namespace Orrery
