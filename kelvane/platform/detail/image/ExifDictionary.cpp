// SPDX-License-Identifier: Apache-2.0
#include "ExifDictionary.h"

#include "ExifKeys.h"
#include "ImageHeader.h"

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Value.h>

#include <cstdio>
#include <libexif/exif-data.h>
#include <memory>
#include <string>
#include <string_view>

namespace kelvane::detail {
namespace {

using namespace std::string_view_literals;

struct Unref {
    void operator()(ExifData *data) const noexcept { exif_data_unref(data); }
};

// The text up to its zero byte; cameras fill up with zeros or blanks.
String textOf(std::string_view bytes)
{
    bytes = bytes.substr(0, bytes.find('\0'));
    const std::size_t last = bytes.find_last_not_of(' ');
    return String(bytes.substr(0, last == std::string_view::npos ? 0 : last + 1)).toValidUtf8();
}

Value fraction(double numerator, double denominator)
{
    return denominator == 0 ? Value() : Value(numerator / denominator);
}

Value numberAt(const ExifEntry &entry, ExifByteOrder order, unsigned long index)
{
    const unsigned char *bytes = entry.data + index * exif_format_get_size(entry.format);
    switch (entry.format) {
    case EXIF_FORMAT_BYTE:
    case EXIF_FORMAT_UNDEFINED:
        return *bytes;
    case EXIF_FORMAT_SBYTE:
        return static_cast<signed char>(*bytes);
    case EXIF_FORMAT_SHORT:
        return std::int64_t{exif_get_short(bytes, order)};
    case EXIF_FORMAT_SSHORT:
        return std::int64_t{exif_get_sshort(bytes, order)};
    case EXIF_FORMAT_LONG:
        return std::int64_t{exif_get_long(bytes, order)};
    case EXIF_FORMAT_SLONG:
        return std::int64_t{exif_get_slong(bytes, order)};
    case EXIF_FORMAT_RATIONAL: {
        const ExifRational value = exif_get_rational(bytes, order);
        return fraction(value.numerator, value.denominator);
    }
    case EXIF_FORMAT_SRATIONAL: {
        const ExifSRational value = exif_get_srational(bytes, order);
        return fraction(value.numerator, value.denominator);
    }
    default:
        return {};
    }
}

Array numbersOf(const ExifEntry &entry, ExifByteOrder order)
{
    Array numbers = Array::empty();
    for (unsigned long i = 0; i < entry.components; ++i)
        if (Value number = numberAt(entry, order, i); !number.isNil())
            numbers.append(std::move(number));
    return numbers;
}

Value timeText(const Array &parts)
{
    if (parts.size() != 3)
        return {};
    char text[64];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", parts[0].intValue(), parts[1].intValue(), parts[2].intValue());
    return String(text);
}

Value angle(const Array &parts)
{
    double degrees = 0;
    double unit = 1;
    for (const Value &part : parts) {
        degrees += part.doubleValue() / unit;
        unit *= 60;
    }
    return parts.isEmpty() ? Value() : Value(degrees);
}

Value digits(std::string_view bytes)
{
    Array numbers = Array::empty();
    for (const char c : bytes)
        if (c >= '0' && c <= '9')
            numbers.append(c - '0');
    // "0230" is 2.3, "0100" 1.0: the first and last zeros say nothing.
    if (numbers.size() == 4 && numbers[0].intValue() == 0)
        numbers.removeAt(0);
    if (numbers.size() == 3 && numbers[2].intValue() == 0)
        numbers.removeAt(2);
    return numbers;
}

Value valueOf(const ExifEntry &entry, ExifByteOrder order, ExifForm form)
{
    const std::string_view bytes(reinterpret_cast<const char *>(entry.data), entry.size);
    if (entry.format == EXIF_FORMAT_ASCII)
        return textOf(bytes);
    switch (form) {
    case ExifForm::Digits:
        return digits(bytes);
    case ExifForm::Text:
        return bytes.starts_with("ASCII\0\0\0"sv) ? Value(textOf(bytes.substr(8))) : Value();
    case ExifForm::Angle:
        return angle(numbersOf(entry, order));
    case ExifForm::Time:
        return timeText(numbersOf(entry, order));
    case ExifForm::List:
        return numbersOf(entry, order);
    case ExifForm::AsStored:
        break;
    }
    if (entry.components == 1)
        return numberAt(entry, order, 0);
    if (entry.format == EXIF_FORMAT_UNDEFINED)
        return Data(entry.data, entry.size);
    return numbersOf(entry, order);
}

Dictionary readList(const ExifContent &content, ExifByteOrder order, ExifList list)
{
    Dictionary result;
    for (unsigned int i = 0; i < content.count; ++i) {
        const ExifEntry &entry = *content.entries[i];
        const ExifKey *key = findExifKey(list, entry.tag);
        const std::size_t unit = exif_format_get_size(entry.format);
        if (!key || !entry.data || entry.components == 0 || unit == 0 || entry.components > entry.size / unit)
            continue;
        if (Value value = valueOf(entry, order, key->form); !value.isNil())
            result.set(key->name, std::move(value));
    }
    return result;
}

} // namespace

ExifDictionaries readExif(std::span<const std::byte> block)
{
    const std::vector<std::byte> compact = compactExif(ImageBytes(block));
    std::string named("Exif\0\0"sv);
    named.append(reinterpret_cast<const char *>(compact.data()), compact.size());
    const std::unique_ptr<ExifData, Unref> data(compact.empty() ? nullptr : exif_data_new());
    if (!data)
        return {};
    // Left to itself it repairs what it reads, and invents what it misses.
    exif_data_unset_option(data.get(), EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
    exif_data_unset_option(data.get(), EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
    exif_data_load_data(
        data.get(), reinterpret_cast<const unsigned char *>(named.data()), static_cast<unsigned int>(named.size()));
    const ExifByteOrder order = exif_data_get_byte_order(data.get());
    return {readList(*data->ifd[EXIF_IFD_0], order, ExifList::Tiff),
        readList(*data->ifd[EXIF_IFD_EXIF], order, ExifList::Exif),
        readList(*data->ifd[EXIF_IFD_GPS], order, ExifList::Gps)};
}

int exifOrientation(const Dictionary &tiff)
{
    const int orientation = tiff["Orientation"].intValue();
    return orientation >= 1 && orientation <= 8 ? orientation : 1;
}

} // namespace kelvane::detail
