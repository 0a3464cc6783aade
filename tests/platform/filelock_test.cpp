// SPDX-License-Identifier: MIT
// The lock file of the platform layer. Standard C++ only: the same source runs against
// the POSIX half here and against the Windows half under Wine.
#include "platform/filelock_p.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;

using Orrery::Platform::FileLock;

/// A fresh directory under the system's temporary directory, removed afterwards.
class LockDirTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::random_device random;
        dir_ = fs::temp_directory_path() / ("orrery-filelock-" + std::to_string(random()));
        ASSERT_TRUE(fs::create_directory(dir_));
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(dir_, ignored);
    }
    fs::path file(const char* name) const { return dir_ / name; }
    std::string utf8(const char* name) const { return file(name).u8string(); }

private:
    fs::path dir_;
};

using FileLockTest = LockDirTest;

int readNumber(const fs::path& file) {
    std::ifstream in(file);
    int value = 0;
    in >> value;
    return value;
}

void writeNumber(const fs::path& file, int value) {
    std::ofstream out(file, std::ios::trunc);
    out << value;
}

TEST_F(FileLockTest, HoldsTheLockAndRemovesItsFileOnRelease) {
    {
        const FileLock lock(utf8("store.storelock"));
        EXPECT_TRUE(lock.locked());
        EXPECT_TRUE(fs::exists(file("store.storelock")));
    }
    EXPECT_FALSE(fs::exists(file("store.storelock")));
}

TEST_F(FileLockTest, FileLeftBehindDoesNotDelay) {
    // What a process that died leaves behind, here naming a process that is still running.
    {
        std::ofstream stale(file("store.storelock"));
        stale << "1\norrery\nlocalhost\n";
    }
    const auto start = std::chrono::steady_clock::now();
    {
        const FileLock lock(utf8("store.storelock"));
        EXPECT_TRUE(lock.locked());
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_FALSE(fs::exists(file("store.storelock")));
}

TEST_F(FileLockTest, SecondHolderWaitsForTheFirst) {
    std::atomic<bool> acquired{false};
    auto first = std::make_unique<FileLock>(utf8("store.storelock"));
    ASSERT_TRUE(first->locked());
    std::thread second([&] {
        const FileLock lock(utf8("store.storelock"));
        acquired = lock.locked();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_FALSE(acquired);
    first.reset();
    second.join();
    EXPECT_TRUE(acquired);
    EXPECT_FALSE(fs::exists(file("store.storelock")));
}

TEST_F(FileLockTest, ThreadsTakeTurnsAndLoseNoUpdate) {
    // Each thread reads a number, lets the others run and writes it back one higher, always
    // under the lock: an overlap would lose an increment. Every holder removes the lock file,
    // so the waiters also go through the hand-over from a removed file to its successor.
    constexpr int kThreads = 4;
    constexpr int kRounds = 100;
    writeNumber(file("counter"), 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < kRounds; ++i) {
                const FileLock lock(utf8("store.storelock"));
                ASSERT_TRUE(lock.locked());
                const int value = readNumber(file("counter"));
                std::this_thread::yield();
                writeNumber(file("counter"), value + 1);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(readNumber(file("counter")), kThreads * kRounds);
    EXPECT_FALSE(fs::exists(file("store.storelock")));
}

TEST_F(FileLockTest, MissingDirectoryGivesNoLockAndCreatesNothing) {
    const FileLock lock((file("missing") / "store.storelock").u8string());
    EXPECT_FALSE(lock.locked());
    EXPECT_FALSE(fs::exists(file("missing")));
}

}  // namespace
