// SPDX-License-Identifier: Apache-2.0
#include "ReportPage.h"

#include "Html.h"
#include "ReportAssets.h"
#include "ReportChart.h"
#include "Text.h"

#include <algorithm>
#include <array>
#include <kelvane/common/Base64Encode.h>
#include <openssl/evp.h>

namespace kelvane::tool {
namespace {

constexpr std::array<ReportKind, reportKindCount> kinds{
    ReportKind::Audio, ReportKind::Video, ReportKind::Images, ReportKind::Unknown};

std::string scriptDigest()
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned size = 0;
    EVP_Digest(reportScript.data(), reportScript.size(), bytes.data(), &size, EVP_sha256(), nullptr);
    return Base64Encode::stringByEncodeBytes(bytes.data(), size).str();
}

// A picture that many items share stands in the page once.
std::string pictureRules(const ReportData &data)
{
    std::string rules;
    for (std::size_t i = 0; i < data.pictures.size(); ++i)
        if (!data.pictures[i].empty())
            rules += ".p" + std::to_string(i + 1) + "{background-image:url(data:image/jpeg;base64," + data.pictures[i]
                + ")}\n";
    return rules;
}

std::string head(const ReportData &data)
{
    return "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:; "
           "style-src 'unsafe-inline'; script-src 'sha256-"
        + scriptDigest()
        + "'; base-uri 'none'; form-action 'none'\">\n"
          "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>Media on "
        + html(lastComponent(data.device)) + "</title>\n<style>\n" + std::string(reportStyle) + pictureRules(data)
        + "</style>\n</head>\n";
}

std::string storage(const ReportData &data)
{
    const ReportData::Total all = data.total();
    const std::uint64_t used = data.capacity > data.free ? data.capacity - data.free : 0;
    std::vector<ChartPart> media;
    for (const ReportKind kind : kinds)
        media.push_back({titleOf(kind), styleOf(kind), data.total(kind).bytes});
    std::vector<ChartPart> device = media;
    device.push_back({"Everything else", "rest", used > all.bytes ? used - all.bytes : 0});
    device.push_back({"Free", "free", data.free});
    return "<section aria-labelledby=\"storage\"><h2 id=\"storage\">Storage</h2>\n<div class=\"bars\">\n"
        + chart("The device", bytesText(used) + " of " + bytesText(data.capacity) + " used", device, data.capacity)
        + chart("Its media", bytesText(all.bytes) + " in " + countText(all.items, "item"), media, all.bytes)
        + "</div></section>\n";
}

std::string totalRow(const std::string &name, const ReportData::Total &total)
{
    return "<tr><th scope=\"row\">" + name + "</th><td class=\"number\">" + std::to_string(total.items)
        + "</td><td class=\"number\">" + bytesText(total.bytes) + "</td><td class=\"number\">"
        + (total.seconds > 0 ? durationText(total.seconds) : "") + "</td></tr>\n";
}

std::string totals(const ReportData &data)
{
    std::string rows;
    for (const ReportKind kind : kinds)
        if (const ReportData::Total total = data.total(kind); total.items > 0)
            rows += totalRow(titleOf(kind), total);
    return "<section aria-labelledby=\"totals\"><h2 id=\"totals\">By kind</h2>\n<table><thead><tr>"
           "<th scope=\"col\">Kind</th><th scope=\"col\" class=\"number\">Items</th>"
           "<th scope=\"col\" class=\"number\">Size</th><th scope=\"col\" class=\"number\">Playing time</th>"
           "</tr></thead>\n<tbody>\n"
        + rows + "</tbody>\n<tfoot>" + totalRow("All", data.total()) + "</tfoot></table></section>\n";
}

std::string numberCell(std::uint64_t value, const std::string &text)
{
    return "<td class=\"number\" data-value=\"" + std::to_string(value) + "\">" + text + "</td>";
}

std::string row(const ReportData &data, const ReportItem &item)
{
    const bool hasPicture = item.picture > 0 && !data.pictures[item.picture - 1].empty();
    const std::string picture = hasPicture ? " p" + std::to_string(item.picture) : "";
    const std::string style = styleOf(item.kind);
    return "<tr data-kind=\"" + style + "\"><td class=\"picture\"><span class=\"art" + picture
        + "\"></span></td><td class=\"title\">" + html(item.title) + "</td><td>" + html(item.artist) + "</td><td>"
        + html(item.album) + "</td><td class=\"kind\">" + swatch(style) + titleOf(item.kind) + "</td>"
        + numberCell(item.seconds, item.seconds > 0 ? durationText(item.seconds) : "")
        + numberCell(item.bytes, bytesText(item.bytes)) + "<td class=\"file\">" + html(item.file) + "</td></tr>\n";
}

std::string tools(const ReportData &data)
{
    std::string options = "<option value=\"\">All</option>";
    for (const ReportKind kind : kinds)
        if (data.total(kind).items > 0)
            options += std::string("<option value=\"") + styleOf(kind) + "\">" + titleOf(kind) + "</option>";
    return "<div class=\"tools\" id=\"tools\" hidden>\n"
           "<label>Filter <input type=\"search\" id=\"filter\" placeholder=\"Words of title, artist, file\" "
           "autocomplete=\"off\"></label>\n<label>Kind <select id=\"kind\">"
        + options
        + "</select></label>\n<output id=\"count\" for=\"filter kind\" aria-live=\"polite\"></output>\n</div>\n";
}

std::string items(const ReportData &data)
{
    std::string text = "<section id=\"items\" tabindex=\"-1\" aria-labelledby=\"items-title\">"
                       "<h2 id=\"items-title\">Items</h2>\n";
    if (data.items.empty())
        return text + "<p class=\"empty\">Nothing has been brought to this device yet.</p></section>\n";
    text += tools(data)
        + "<div class=\"scroll\" role=\"region\" aria-labelledby=\"items-title\" tabindex=\"0\">\n"
          "<table id=\"list\"><thead><tr><td class=\"picture\"><span class=\"visually-hidden\">Picture</span></td>";
    for (const char *heading : {"Title", "Artist", "Album", "Kind"})
        text += std::string("<th scope=\"col\" data-sort>") + heading + "</th>";
    for (const char *heading : {"Time", "Size"})
        text += std::string("<th scope=\"col\" class=\"number\" data-sort>") + heading + "</th>";
    text += "<th scope=\"col\" data-sort>File</th></tr></thead>\n<tbody>\n";
    for (const ReportItem &item : data.items)
        text += row(data, item);
    return text + "</tbody></table></div></section>\n";
}

} // namespace

std::string reportPage(const ReportData &data)
{
    return head(data) + "<body>\n<a class=\"skip\" href=\"#items\">Skip to the items</a>\n<header><h1>Media on "
        + html(lastComponent(data.device)) + "</h1>\n<p>" + html(data.device) + ", as of <time>" + html(data.day)
        + "</time></p></header>\n<main>\n<div class=\"overview\">\n" + storage(data) + totals(data) + "</div>\n"
        + items(data) + "</main>\n<footer><p>Made by kelvane " KELVANE_VERSION ".</p></footer>\n<script>"
        + std::string(reportScript) + "</script>\n</body>\n</html>\n";
}

} // namespace kelvane::tool
