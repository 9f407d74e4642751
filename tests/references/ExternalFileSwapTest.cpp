// External files under attack: names inside the listed folder swapped, while
// the references naming them are verified, between a harmless file or folder
// and a symbolic link leading out of the folder.
#include "support/Signing.h"

#include <gtest/gtest.h>

#include <fcntl.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <map>
#include <thread>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

// Swaps two names at once, so that each always exists.
bool exchange(const fs::path& a, const fs::path& b) {
    return ::renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE) == 0;
}

TEST(ExternalFileSwap, ALinkSwappedInIsNeverFollowedOutOfTheFolder) {
    TempDir tmp;
    const fs::path folder = tmp.path() / "exposed";
    const fs::path outside = tmp.path() / "outside";
    const std::string secret = "secret, outside the folder\n";
    fs::create_directories(folder / "sub");
    fs::create_directories(outside);
    writeFile(outside / "data.txt", secret);
    writeFile(folder / "file.txt", "harmless\n");
    writeFile(folder / "sub" / "data.txt", "harmless\n");
    fs::create_symlink(outside / "data.txt", tmp.path() / "file-link");
    fs::create_symlink(outside, tmp.path() / "sub-link");

    // Both digests are the secret's: only reading it would match.
    ClsXmlDSig dsig;
    ASSERT_TRUE(loadXml(dsig, documentWithReferences("", referenceXml("file.txt", sha256Of(secret)) +
                                                             referenceXml("sub/data.txt", sha256Of(secret)))));
    XString dirs(folder.string());
    dsig.put_ExternalRefDirs(dirs);

    std::atomic<bool> stop{false};
    std::atomic<int> swaps{0}, failedSwaps{0};
    std::thread swapper([&] {
        while (!stop) {
            failedSwaps += !exchange(folder / "file.txt", tmp.path() / "file-link");
            failedSwaps += !exchange(folder / "sub", tmp.path() / "sub-link");
            ++swaps;
        }
    });
    // Per reference, how often each RefFailReason came: 0 matched (the
    // secret read), 1 a mismatch (the harmless file read), 2 refused. At
    // least 400 runs, and on until both states were met, within 2 s.
    std::map<int, int> outcomes[2];
    auto bothMet = [&] {
        return outcomes[0].contains(1) && outcomes[0].contains(2) && outcomes[1].contains(1) && outcomes[1].contains(2);
    };
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (swaps == 0)
        std::this_thread::yield();
    for (int run = 0; (run < 400 || !bothMet()) && std::chrono::steady_clock::now() < deadline; ++run) {
        for (int index : {0, 1}) {
            dsig.VerifyReferenceDigest(index);
            ++outcomes[index][dsig.get_RefFailReason()];
        }
    }
    stop = true;
    swapper.join();
    EXPECT_EQ(failedSwaps, 0);
    // Both states were met, so the swaps did race the verifications; and
    // nothing else happened.
    EXPECT_TRUE(bothMet());
    for (int index : {0, 1}) {
        outcomes[index].erase(1);
        outcomes[index].erase(2);
        EXPECT_TRUE(outcomes[index].empty())
            << "reference " << index << ": RefFailReason " << outcomes[index].begin()->first;
    }
}

} // namespace
