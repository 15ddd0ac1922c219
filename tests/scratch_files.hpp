// A folder of its own for each test, which must not leave a file open.
#pragma once

#include "tests/vector_file.hpp"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <unistd.h>

namespace test {

class scratch_files : public testing::Test {
protected:
    void SetUp() override
    {
        folder_ = testing::TempDir() + "kestrim_XXXXXX";
        ASSERT_NE(mkdtemp(folder_.data()), nullptr);
        next_descriptor_ = next_descriptor();
    }
    void TearDown() override
    {
        EXPECT_EQ(next_descriptor(), next_descriptor_) << "a file was left open";
        std::filesystem::remove_all(folder_);
    }

    std::string path(const std::string& name) const { return folder_ + "/" + name; }

    static bytes contents(const std::string& path)
    {
        std::ifstream in{path, std::ios::binary};
        return {std::istreambuf_iterator<char>{in}, {}};
    }

    // The lowest one that is not open.
    static int next_descriptor()
    {
        const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(descriptor);
        return descriptor;
    }

private:
    std::string folder_;
    int next_descriptor_ = -1;
};

} // namespace test
