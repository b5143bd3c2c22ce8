// SPDX-License-Identifier: Apache-2.0
#include "Html.h"

#include "Text.h"

namespace kelvane::tool {

std::string html(std::string_view text)
{
    std::string result;
    for (const char c : printable(text)) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        case '\'':
            result += "&#39;";
            break;
        default:
            result += c;
        }
    }
    return result;
}

} // namespace kelvane::tool
