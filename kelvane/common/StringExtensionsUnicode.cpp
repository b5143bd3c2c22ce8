// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/StringExtensions.h>

#include <memory>
#include <string>

#include <unicode/uregex.h>
#include <unicode/ustring.h>

namespace kelvane {

namespace {

/// What one match may take, in ICU's unit of ten thousand backtracking steps, which is about a millisecond. ICU
/// itself limits the memory.
constexpr std::int32_t regexTimeLimit = 500;

using Regex = std::unique_ptr<URegularExpression, decltype(&uregex_close)>;

std::int32_t length(const std::u16string &text) noexcept
{
    return static_cast<std::int32_t>(text.size());
}

/// Whether ICU, which counts in 32 bits, can take the text; folding makes it three times as long at the most.
bool isInReach(const String &text) noexcept
{
    return text.size() <= INT32_MAX / 4;
}

/// The form of the text in which case makes no difference.
std::u16string foldedCase(const std::u16string &units)
{
    std::u16string folded(units.size() + 16, u'\0');
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t size =
        u_strFoldCase(folded.data(), length(folded), units.data(), length(units), U_FOLD_CASE_DEFAULT, &error);
    folded.resize(static_cast<std::size_t>(size));
    if (error == U_BUFFER_OVERFLOW_ERROR) {
        error = U_ZERO_ERROR;
        u_strFoldCase(folded.data(), length(folded), units.data(), length(units), U_FOLD_CASE_DEFAULT, &error);
    }
    return folded;
}

/// The text in lower case, by the rules that hold for no language in particular.
std::u16string lowerCase(const String &text)
{
    const std::u16string units = text.toUtf16();
    std::u16string lower(units.size() + 16, u'\0');
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t size = u_strToLower(lower.data(), length(lower), units.data(), length(units), "", &error);
    lower.resize(static_cast<std::size_t>(size));
    if (error == U_BUFFER_OVERFLOW_ERROR) {
        error = U_ZERO_ERROR;
        u_strToLower(lower.data(), length(lower), units.data(), length(units), "", &error);
    }
    return lower;
}

} // namespace

bool startsWith(const String &text, const String &prefix)
{
    if (text.isNull() || prefix.isEmpty() || !isInReach(prefix))
        return false;
    const std::u16string foldedPrefix = foldedCase(prefix.toUtf16());
    // Every character of the text folds to one unit at least and takes four bytes at the most.
    const String start = text.view().substr(0, foldedPrefix.size() * 4);
    return foldedCase(start.toUtf16()).starts_with(foldedPrefix);
}

bool strCompare(const String &text, const String &other)
{
    if (text.isNull() || other.isNull() || !isInReach(text) || !isInReach(other))
        return false;
    return lowerCase(trim(text)) == lowerCase(trim(other));
}

bool inCaseCompare(const String &text, const String &other)
{
    if (text.isNull() || other.isNull() || !isInReach(text) || !isInReach(other))
        return false;
    return foldedCase(text.toUtf16()) == foldedCase(other.toUtf16());
}

bool isMatch(const String &text, const String &pattern)
{
    if (text.isNull() || pattern.isNull() || !isInReach(text) || !isInReach(pattern))
        return false;
    if (pattern.isEmpty()) // which ICU takes for an error
        return text.isEmpty();
    const std::u16string patternUnits = pattern.toUtf16();
    const std::u16string units = text.toUtf16();
    UErrorCode error = U_ZERO_ERROR;
    const Regex regex(uregex_open(patternUnits.data(), length(patternUnits), 0, nullptr, &error), &uregex_close);
    // Each of these does nothing once one has failed.
    uregex_setTimeLimit(regex.get(), regexTimeLimit, &error);
    uregex_setText(regex.get(), units.data(), length(units), &error);
    const UBool matches = uregex_matches(regex.get(), -1, &error);
    return U_SUCCESS(error) && matches;
}

} // namespace kelvane
