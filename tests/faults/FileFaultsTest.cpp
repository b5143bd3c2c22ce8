// SPDX-License-Identifier: Apache-2.0
// Files of settings, pictures and the toolbox when calls of the system fail.
#include "FaultTest.h"

#include <kelvane/common/Utils.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/Image.h>
#include <kelvane/platform/ImageDestination.h>
#include <kelvane/platform/UserDefaults.h>

using namespace kelvane;
using namespace kelvane::testsupport;

namespace {

namespace fs = std::filesystem;

class FileFaults : public FaultTest {};

Image picture()
{
    std::string pixels;
    for (int i = 0; i < 64 * 48; ++i)
        pixels += {static_cast<char>(i), static_cast<char>(i / 7), static_cast<char>(i / 64), '\xff'};
    return {Data(pixels.data(), pixels.size()), 64, 48};
}

TEST_P(FileFaults, ASettingIsStoredAndTheOthersStay)
{
    const auto file = [](const fs::path &folder) { return String((folder / "settings.plist").native()); };
    const FaultSubject subject{"user defaults",
        [&](const fs::path &folder) {
            UserDefaults defaults(file(folder));
            ASSERT_TRUE(defaults.setObject("old", "kept"));
            ASSERT_TRUE(defaults.setObject("old", "changed"));
        },
        [&](const fs::path &folder) { return UserDefaults(file(folder)).setObject("new", "changed"); },
        [&](const fs::path &folder, bool isDone) -> std::string {
            const UserDefaults defaults(file(folder));
            const String changed = defaults.objectForKey("changed").string();
            if (defaults.objectForKey("kept").string() != "old" || (changed != "new" && (isDone || changed != "old")))
                return "a value is lost";
            return strangersIn(
                folder, {"settings.plist", "settings.plist.lock", isDone ? "settings.plist" : "settings.plist.new"});
        }};
    tryCalls(subject);
}

TEST_P(FileFaults, APictureFileIsTheOldOrTheNewOne)
{
    for (const ImageFormat format : {ImageFormat::Jpeg, ImageFormat::Png})
        tryCalls({format == ImageFormat::Jpeg ? "write JPEG" : "write PNG",
            [](const fs::path &folder) { writeBytes(folder / "picture", "old"); },
            [=](const fs::path &folder) {
                const auto destination = ImageDestination::create((folder / "picture").native(), format);
                return destination && destination->write(picture());
            },
            [](const fs::path &folder, bool isDone) -> std::string {
                if (!isDone && bytesOf(folder / "picture") == "old")
                    return strangersIn(folder, {"picture"});
                if (Image::fromFile((folder / "picture").native()).width() != 64)
                    return "the picture is not whole";
                return strangersIn(folder, {"picture"});
            }});
}

TEST_P(FileFaults, APictureIsReadAsAWholeOrNotAtAll)
{
    const fs::path sample = fs::path(KELVANE_OWN_SAMPLES) / "Photos" / "Hills.jpg";
    static const std::int32_t width = Image::fromFile(sample.native()).width();
    ASSERT_GT(width, 0);
    tryCalls({"read JPEG", [](const fs::path &) {},
        [&](const fs::path &) { return Image::fromFile(sample.native()).width() == width; },
        [](const fs::path &, bool) { return std::string(); }});
}

TEST_P(FileFaults, AFileIsCopiedOverAnotherThatIsKept)
{
    tryCalls({"Utils::copyFile",
        [](const fs::path &folder) {
            writeBytes(folder / "from", std::string(100'000, 'n'));
            writeBytes(folder / "to", "old");
        },
        [](const fs::path &folder) { return Utils::copyFile((folder / "from").native(), (folder / "to").native()); },
        [](const fs::path &folder, bool isDone) -> std::string {
            if (bytesOf(folder / "from") != std::string(100'000, 'n'))
                return "the source is lost";
            const std::string now = bytesOf(folder / "to");
            const bool isNew = now == std::string(100'000, 'n');
            if (isDone ? !isNew : !isNew && now != "old" && fs::exists(folder / "to"))
                return "the copy is not whole";
            if (now != "old" && bytesOf(folder / "to(1)") != "old" && bytesOf(folder / "to(2)") != "old")
                return "what was there is lost";
            return strangersIn(folder, {"from", "to", "to(1)", "to(2)"});
        },
        [](const fs::path &folder) {
            // Nothing is where the copy belongs after one that failed; that is its own reason to fail.
            if (!fs::exists(folder / "to"))
                fs::rename(folder / "to(1)", folder / "to");
            return bytesOf(folder / "to") != "old"
                || Utils::copyFile((folder / "from").native(), (folder / "to").native());
        }});
}

TEST_P(FileFaults, AFolderIsCopiedAsAWholeOrNotAtAll)
{
    tryCalls({"Utils::copyFile folder",
        [](const fs::path &folder) {
            fs::create_directories(folder / "from" / "inner");
            for (const char *name : {"from/first", "from/inner/second", "from/third"})
                writeBytes(folder / name, name);
            writeBytes(folder / "to", "old");
        },
        [](const fs::path &folder) { return Utils::copyFile((folder / "from").native(), (folder / "to").native()); },
        [](const fs::path &folder, bool isDone) -> std::string {
            const bool isCopied = fs::is_directory(folder / "to");
            for (const char *name : {"first", "inner/second", "third"})
                if (isCopied && bytesOf(folder / "to" / name) != bytesOf(folder / "from" / name))
                    return "the copy is not whole";
            if (isDone && !isCopied)
                return "there is no copy";
            if (bytesOf(folder / "to") != "old" && bytesOf(folder / "to(1)") != "old")
                return "what was there is lost";
            return strangersIn(folder, {"from", "to", "to(1)"});
        },
        [](const fs::path &folder) {
            if (!fs::exists(folder / "to"))
                fs::rename(folder / "to(1)", folder / "to");
            return fs::is_directory(folder / "to")
                || Utils::copyFile((folder / "from").native(), (folder / "to").native());
        }});
}

TEST_P(FileFaults, AFileIsMovedAside)
{
    tryCalls({"Utils::moveFile", [](const fs::path &folder) { writeBytes(folder / "file", "old"); },
        [](const fs::path &folder) { return Utils::moveFile((folder / "file").native()); },
        [](const fs::path &folder, bool isDone) -> std::string {
            const bool isMoved = bytesOf(folder / "file(1)") == "old";
            const bool isThere = bytesOf(folder / "file") == "old";
            return isMoved != isThere && (isMoved || !isDone) ? "" : "the file is lost";
        }});
}

TEST_P(FileFaults, WhatWasSetAsideFirstIsNeverReplaced)
{
    tryCalls({"Utils::backFile",
        [](const fs::path &folder) {
            writeBytes(folder / "file", "new");
            writeBytes(folder / "file(origin)", "first");
        },
        [](const fs::path &folder) { return Utils::backFile((folder / "file").native()); },
        [](const fs::path &folder, bool isDone) -> std::string {
            if (bytesOf(folder / "file(origin)") != "first")
                return "the first one is lost";
            const std::string moved = bytesOf(folder / "file(bak)");
            return (moved == "new") != (bytesOf(folder / "file") == "new") && (moved == "new" || !isDone)
                ? ""
                : "the file is lost";
        }});
}

TEST_P(FileFaults, AFolderIsMadeAndRemoved)
{
    tryCalls({"Utils::createDirectory", [](const fs::path &) {},
        [](const fs::path &folder) { return Utils::createDirectory((folder / "a" / "b" / "c").native()); },
        [](const fs::path &folder, bool isDone) {
            return isDone && !fs::is_directory(folder / "a" / "b" / "c") ? "it is not there" : "";
        }});
    tryCalls({"Utils::deleteFile",
        [](const fs::path &folder) {
            fs::create_directories(folder / "a" / "b");
            writeBytes(folder / "a" / "b" / "file", "old");
            writeBytes(folder / "other", "kept");
        },
        [](const fs::path &folder) { return Utils::deleteFile((folder / "a").native()); },
        [](const fs::path &folder, bool isDone) {
            return bytesOf(folder / "other") != "kept" ? "another file is lost"
                : isDone && fs::exists(folder / "a")   ? "it is there"
                                                       : "";
        },
        [](const fs::path &folder) {
            return !fs::exists(folder / "a") || Utils::deleteFile((folder / "a").native());
        }});
}

KELVANE_ALL_FAULTS(FileFaults);

} // namespace
