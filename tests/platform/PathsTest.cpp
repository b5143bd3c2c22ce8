// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Paths.h>

#include <gtest/gtest.h>

namespace kelvane {
namespace {

TEST(Paths, LastPathComponent)
{
    EXPECT_EQ(lastPathComponent("/a/b/c.mp3"), "c.mp3");
    EXPECT_EQ(lastPathComponent("/a/b//"), "b");
    EXPECT_EQ(lastPathComponent("a"), "a");
    EXPECT_EQ(lastPathComponent("/"), "/");
    EXPECT_EQ(lastPathComponent("//"), "/");
    EXPECT_EQ(lastPathComponent(""), "");
    EXPECT_TRUE(lastPathComponent(nullptr).isNull());
}

TEST(Paths, PathExtension)
{
    EXPECT_EQ(pathExtension("/a/b.tar.gz"), "gz");
    EXPECT_EQ(pathExtension("/a.b/c"), "");
    EXPECT_EQ(pathExtension("/a/.profile"), "");
    EXPECT_EQ(pathExtension("/a/.profile.bak"), "bak");
    EXPECT_EQ(pathExtension("a.bundle/"), "bundle");
    EXPECT_EQ(pathExtension("a."), "");
    EXPECT_EQ(pathExtension("a.m%p3"), "m%p3");
    EXPECT_TRUE(pathExtension(nullptr).isNull());
}

TEST(Paths, DeletingPathExtension)
{
    EXPECT_EQ(deletingPathExtension("/a/b.tar.gz"), "/a/b.tar");
    EXPECT_EQ(deletingPathExtension("/a.b/c"), "/a.b/c");
    EXPECT_EQ(deletingPathExtension("/a/.profile"), "/a/.profile");
    EXPECT_EQ(deletingPathExtension("a.bundle/"), "a");
    EXPECT_EQ(deletingPathExtension("a..mp3"), "a.");
    EXPECT_EQ(deletingPathExtension("/"), "/");
    EXPECT_TRUE(deletingPathExtension(nullptr).isNull());
}

TEST(Paths, DeletingLastPathComponent)
{
    EXPECT_EQ(deletingLastPathComponent("/a/b/c.mp3"), "/a/b");
    EXPECT_EQ(deletingLastPathComponent("/a//b/"), "/a");
    EXPECT_EQ(deletingLastPathComponent("/a"), "/");
    EXPECT_EQ(deletingLastPathComponent("/"), "/");
    EXPECT_EQ(deletingLastPathComponent("a"), "");
    EXPECT_TRUE(deletingLastPathComponent(nullptr).isNull());
}

TEST(Paths, AppendingPathComponent)
{
    EXPECT_EQ(appendingPathComponent("/a", "b/c"), "/a/b/c");
    EXPECT_EQ(appendingPathComponent("/a//b/", "//c//"), "/a/b/c");
    EXPECT_EQ(appendingPathComponent("/", "/"), "/");
    EXPECT_EQ(appendingPathComponent("", "a"), "a");
    EXPECT_EQ(appendingPathComponent("/a/", ""), "/a/");
    EXPECT_TRUE(appendingPathComponent(nullptr, "a").isNull());
}

} // namespace
} // namespace kelvane
