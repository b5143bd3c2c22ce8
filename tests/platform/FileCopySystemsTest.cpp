// SPDX-License-Identifier: Apache-2.0
// The same copies on file systems of several kinds, in images that the test makes and mounts.
#include <kelvane/platform/FileCopy.h>

#include <chrono>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/xattr.h>
#include <tests/support/CopyRecorder.h>
#include <tests/support/TemporaryFolder.h>
#include <unistd.h>

using namespace kelvane;
using namespace kelvane::testsupport;

namespace {

constexpr std::size_t mebibyte = std::size_t{1} << 20;

/// A fresh file system in a folder, unmounted when the object goes. Tests that get none skip themselves.
class MountedSystem {
public:
    MountedSystem(const std::string &kind, const std::string &size) : _point(_folder.path("mounted"))
    {
        std::filesystem::create_directory(_point);
        const std::string image = " '" + _folder.path("image").native() + "'";
        const std::string point = " '" + _point.native() + "'";
        // The card's system runs outside of the kernel, which wants a device; that goes with the mount.
        const std::string mount = kind == "exfat"
            ? "loop=$(losetup -f --show" + image + ") && mount.exfat-fuse $loop" + point + " && losetup -d $loop"
            : "mount -o loop" + image + point;
        const std::string options = kind == "ext4" ? " -qF" : kind == "exfat" ? "" : " -qf";
        const std::string make = kind == "tmpfs"
            ? "mount -t tmpfs -o size=" + size + " tmpfs" + point
            : "truncate -s " + size + image + " && mkfs." + kind + options + image + " && " + mount;
        std::tie(_output, _mounted) = geteuid() == 0 ? shell(make) : std::pair("mounting needs root", false);
    }
    ~MountedSystem()
    {
        if (_mounted)
            (void)shell("umount '" + _point.native() + "'");
    }
    MountedSystem(const MountedSystem &) = delete;
    MountedSystem &operator=(const MountedSystem &) = delete;

    [[nodiscard]] explicit operator bool() const { return _mounted; }
    [[nodiscard]] const std::string &reason() const { return _output; }
    [[nodiscard]] const std::filesystem::path &path() const { return _point; }
    [[nodiscard]] std::filesystem::path image() const { return _folder.path("image"); }
    [[nodiscard]] bool remount()
    {
        _mounted = false;
        if (!shell("umount '" + _point.native() + "'").second)
            return false;
        return true;
    }
    [[nodiscard]] bool mountAgain()
    {
        _mounted = shell("mount -o loop '" + image().native() + "' '" + _point.native() + "'").second;
        return _mounted;
    }

private:
    const TemporaryFolder _folder;
    const std::filesystem::path _point;
    std::string _output;
    bool _mounted = false;
};

void makeTree(const std::filesystem::path &root)
{
    std::filesystem::create_directories(root / "inner" / "empty");
    writeFile(root / "inner" / "zero", "");
    writeFile(root / "inner" / "small", "content");
    writeFile(root / "large", pattern(5 * mebibyte + 11));
    std::filesystem::create_hard_link(root / "large", root / "inner" / "again");
    std::filesystem::create_symlink("../large", root / "inner" / "link");
    (void)setxattr((root / "large").c_str(), "user.note", "value", 5, 0); // tmpfs of older systems has none
    (void)shell("setfacl -m u:1234:rw '" + (root / "inner" / "small").native() + "'");
    const int sparse = open((root / "sparse").c_str(), O_CREAT | O_WRONLY, 0640);
    EXPECT_EQ(pwrite(sparse, "x", 1, 4 * mebibyte), 1);
    EXPECT_EQ(ftruncate(sparse, 16 * mebibyte), 0);
    close(sparse);
}

} // namespace

struct SystemCase {
    const char *name;
    const char *size;
    bool clones;
};

class FileCopySystems : public testing::TestWithParam<SystemCase> {};

TEST_P(FileCopySystems, ATreeIsTheSameAfterwards)
{
    const MountedSystem system(GetParam().name, GetParam().size);
    if (!system)
        GTEST_SKIP() << "no " << GetParam().name << " here: " << system.reason();
    makeTree(system.path() / "from");
    CopyRecorder copy;
    EXPECT_EQ(copy.copy(system.path() / "from", system.path() / "to", CopyRecorder::treeFlags), 0);
    EXPECT_EQ(copy.state.failedCount(), 0U);
    EXPECT_LE(statOf(system.path() / "to" / "sparse").st_blocks, 2048);
    if (haveRsync()) {
        EXPECT_EQ(differences(system.path() / "from", system.path() / "to"), "");
    }
    // A clone shares the source's blocks at once and has nothing to report.
    EXPECT_EQ(copy.count("Data Progress") == 0, GetParam().clones);
}

TEST_P(FileCopySystems, ATreeFromAnotherSystemIsTheSameAfterwards)
{
    const MountedSystem system(GetParam().name, GetParam().size);
    if (!system)
        GTEST_SKIP() << "no " << GetParam().name << " here: " << system.reason();
    const TemporaryFolder folder;
    makeTree(folder.path("from"));
    CopyRecorder copy;
    EXPECT_EQ(copy.copy(folder.path("from"), system.path() / "to", CopyRecorder::treeFlags), 0);
    EXPECT_EQ(copy.state.failedCount(), 0U);
    EXPECT_GT(copy.count("Data Progress"), 0);
    if (haveRsync()) {
        EXPECT_EQ(differences(folder.path("from"), system.path() / "to"), "");
    }
}

INSTANTIATE_TEST_SUITE_P(On, FileCopySystems,
    testing::Values(SystemCase{"ext4", "100M", false}, SystemCase{"tmpfs", "100M", false},
        SystemCase{"xfs", "400M", true}, SystemCase{"btrfs", "200M", true}),
    [](const auto &row) { return std::string(row.param.name); });

// What sticks and cards have: no attributes, no owners, no links, times in steps.
TEST(FileCopyToCard, FilesAndFoldersArriveAndWhatItCannotHoldIsTold)
{
    const MountedSystem system("exfat", "40M");
    if (!system)
        GTEST_SKIP() << "no such system here: " << system.reason();
    const TemporaryFolder folder;
    const std::filesystem::path from = folder.path("from");
    makeTree(from);
    for (int number = 0; number < 40; ++number)
        writeFile(from / "inner" / ("song " + std::to_string(number)), pattern(1000));
    const auto has = [&](const char *name, const char *attribute) {
        return getxattr((from / name).c_str(), attribute, nullptr, 0) > 0;
    };
    std::vector<std::string> expected{"link 1"};
    if (has("large", "user.note"))
        expected.insert(expected.end(), {"again 5", "large 5"}); // the two names of one file
    if (has("inner/small", "system.posix_acl_access"))
        expected.emplace_back("small 5");

    CopyRecorder copy;
    EXPECT_EQ(copy.copy(from, system.path() / "to", CopyRecorder::treeFlags), 0);
    std::vector<std::string> failed;
    for (const auto &failure : copy.state.failures())
        failed.push_back(
            std::filesystem::path(failure.path.str()).filename().native() + " " + std::to_string(failure.what));
    EXPECT_THAT(failed, testing::UnorderedElementsAreArray(expected));
    const auto [output, same] =
        shell("diff -r --no-dereference '" + from.native() + "' '" + (system.path() / "to").native() + "'");
    EXPECT_EQ(output, "Only in " + (from / "inner").native() + ": link\n");
    EXPECT_LE(
        std::abs(statOf(system.path() / "to" / "large").st_mtim.tv_sec - statOf(from / "large").st_mtim.tv_sec), 2);
}

TEST(FileCopyFullDisk, FailsTheFileAfterThreeAttemptsAndLeavesNoneOfIt)
{
    const MountedSystem system("tmpfs", "1M");
    if (!system)
        GTEST_SKIP() << "no small disk here: " << system.reason();
    const TemporaryFolder folder;
    writeFile(folder.path("from"), pattern(3 * mebibyte));
    CopyRecorder copy;
    EXPECT_EQ(copy.copy(folder.path("from"), system.path() / "to", CopyRecorder::fileFlags), -1);
    EXPECT_EQ(copy.error, ENOSPC);
    EXPECT_EQ(copy.count("Data Error"), 3);
    EXPECT_TRUE(std::filesystem::is_empty(system.path()));
    EXPECT_EQ(std::filesystem::space(system.path()).free, mebibyte) << "its blocks are free again";
}

TEST(FileCopyFullDisk, OfATreeHoldsWholeFilesOnlyAndHasNothingToHide)
{
    const MountedSystem system("tmpfs", "1M");
    if (!system)
        GTEST_SKIP() << "no small disk here: " << system.reason();
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path("from"));
    const std::string content = pattern(50000);
    for (int number = 0; number < 40; ++number)
        writeFile(folder.path("from") / std::to_string(number), content);
    CopyRecorder copy;
    EXPECT_EQ(copy.copy(folder.path("from"), system.path() / "to", CopyRecorder::treeFlags), 0);
    const auto arrived = namesIn(system.path() / "to");
    EXPECT_GT(arrived.size(), 10U);
    EXPECT_EQ(arrived.size() + copy.state.failedCount(), 40U);
    for (const auto &failure : copy.state.failures())
        EXPECT_EQ(failure.error, ENOSPC);
    for (const std::string &name : arrived)
        EXPECT_EQ(readFile(system.path() / "to" / name), content);
    std::filesystem::remove_all(system.path() / "to");
    EXPECT_EQ(std::filesystem::space(system.path()).free, mebibyte) << "nothing without a name is left";
}

TEST(FileCopyDamagedDisk, AReadErrorFailsTheFile)
{
    MountedSystem system("btrfs", "200M");
    if (!system)
        GTEST_SKIP() << "no disk here that notices damage: " << system.reason();
    const std::string mark = "kelvane-mark-of-the-block-to-damage";
    std::string content = pattern(4 * mebibyte);
    content.replace(2 * mebibyte, mark.size(), mark);
    writeFile(system.path() / "from", content);
    if (!system.remount())
        GTEST_SKIP() << "cannot unmount";
    std::string image = readFile(system.image());
    const std::size_t at = image.find(mark);
    ASSERT_NE(at, std::string::npos);
    std::fstream(system.image(), std::ios::in | std::ios::out | std::ios::binary).seekp(static_cast<std::streamoff>(at))
        << "damaged";
    ASSERT_TRUE(system.mountAgain());
    const TemporaryFolder folder;
    CopyRecorder copy;
    EXPECT_EQ(copy.copy(system.path() / "from", folder.path("to"), CopyRecorder::fileFlags), -1);
    EXPECT_EQ(copy.error, EIO);
    EXPECT_EQ(copy.count("Data Error"), 1);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}
