// SPDX-License-Identifier: Apache-2.0
#include "PhotoInfo.h"

#include "Text.h"

#include <kelvane/common/Utils.h>
#include <kelvane/platform/ImageSource.h>

namespace kelvane::tool {
namespace {

constexpr std::size_t nameWidth = 26;

// Numbers, texts and what is made of them; bytes, such as patterns of a sensor, are of no use in a listing.
Json jsonOf(const Value &value)
{
    if (const Dictionary *dictionary = value.getIf<Dictionary>()) {
        Json object = Json::object();
        for (std::size_t i = 0; i < dictionary->size(); ++i)
            if (!dictionary->valueAt(i).getIf<Data>())
                object[validUtf8(dictionary->keyAt(i).view())] = jsonOf(dictionary->valueAt(i));
        return object;
    }
    if (const Array *array = value.getIf<Array>()) {
        Json list = Json::array();
        for (const Value &element : *array)
            list.push_back(jsonOf(element));
        return list;
    }
    return jsonValue(value);
}

void addLine(std::string &listing, const std::string &name, const std::string &text)
{
    if (!text.empty())
        listing += "  " + fitted(printable(name), nameWidth) + printable(text) + '\n';
}

std::string textOf(const Value &value)
{
    const Array *array = value.getIf<Array>();
    if (!array)
        return value.stringValue().str();
    std::string text;
    for (const Value &element : *array)
        text += (text.empty() ? "" : ", ") + element.stringValue().str();
    return text;
}

void addLines(std::string &listing, const Dictionary &list)
{
    for (std::size_t i = 0; i < list.size(); ++i)
        if (!list.valueAt(i).getIf<Data>())
            addLine(listing, list.keyAt(i).str(), textOf(list.valueAt(i)));
}

} // namespace

std::unique_ptr<ImageSource> openPhoto(const std::string &path)
{
    return ImageSource::open(path);
}

Json photoJson(const std::string &path, const ImageSource &photo)
{
    Json json{{"path", jsonText(path)}};
    json["type"] = jsonText(photo.typeIdentifier().view());
    json["width"] = static_cast<std::int64_t>(photo.pixelSize().width);
    json["height"] = static_cast<std::int64_t>(photo.pixelSize().height);
    json["orientation"] = photo.orientation();
    json["fileSize"] = Utils::fileSize(path);
    json["captureDate"] = jsonValue(Utils::photoExifCreateDate(path));
    json["properties"] = jsonOf(photo.properties());
    return json;
}

std::string photoListing(const std::string &path, const ImageSource &photo)
{
    std::string listing = printable(path) + '\n';
    addLine(listing, "type", photo.typeIdentifier().str());
    addLine(listing, "size",
        std::to_string(static_cast<std::int64_t>(photo.pixelSize().width)) + " x "
            + std::to_string(static_cast<std::int64_t>(photo.pixelSize().height)));
    addLine(listing, "orientation", std::to_string(photo.orientation()));
    addLine(listing, "fileSize", bytesText(Utils::getSizeFromPath(path)));
    const Date captureDate = Utils::photoExifCreateDate(path);
    addLine(listing, "captureDate", captureDate.isNull() ? std::string() : captureDate.toIso8601().str());
    const Dictionary all = photo.properties();
    addLine(listing, "profile", all["ProfileName"].stringValue().str());
    for (const char *list : {"{TIFF}", "{Exif}", "{GPS}"})
        addLines(listing, all[list].dictionary());
    return listing;
}

} // namespace kelvane::tool
