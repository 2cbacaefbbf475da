#include "tests/examples/scanner/TempTree.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

TempTree::TempTree() {
    std::string pattern = std::filesystem::temp_directory_path() / "scanner_test.XXXXXX";
    char const* const made = ::mkdtemp(pattern.data());
    EXPECT_NE(made, nullptr);
    path_ = std::filesystem::canonical(pattern);
}

TempTree::~TempTree() {
    ExpectSoundRoots(path_);
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TempTree::Write(std::string const& name, std::string const& content) const {
    std::filesystem::path const path = path_ + "/" + name;
    NotSoundWhenInCache(path);
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file << content;
    EXPECT_TRUE(file.flush().good()) << path;
    return path;
}

std::string TempTree::Read(std::string const& name) const {
    std::ifstream file(path_ + "/" + name, std::ios::binary);
    EXPECT_TRUE(file.good()) << name;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string Gzip(std::string const& text) {
    z_stream stream{};
    EXPECT_EQ(::deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY), Z_OK);
    std::string packed(::deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    EXPECT_EQ(::deflate(&stream, Z_FINISH), Z_STREAM_END);
    packed.resize(packed.size() - stream.avail_out);
    ::deflateEnd(&stream);
    return packed;
}
