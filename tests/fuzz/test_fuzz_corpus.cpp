// Every input the fuzzers found a fault with, kept in tests/fuzz/corpus/<target>/, replayed through the same
// body in the normal suite (and under the sanitizer builds), so a fixed fault stays fixed.
#include "tests/fuzz/fuzz_bodies.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

std::vector<std::filesystem::path> Inputs(const char* target)
{
    std::vector<std::filesystem::path> files;
    const std::filesystem::path folder = std::filesystem::path(LUMIVUE_FUZZ_CORPUS) / target;
    if (std::filesystem::is_directory(folder))
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.is_regular_file() && entry.path().filename() != "README")
                files.push_back(entry.path());
    return files;
}

std::vector<uint8_t> Bytes(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

template <typename Body> void Replay(const char* target, Body body)
{
    const auto files = Inputs(target);
    for (const auto& file : files)
    {
        SCOPED_TRACE(file.string());
        const auto bytes = Bytes(file);
        body(bytes.data(), bytes.size());
    }
    std::printf("%s: %zu kept inputs replayed\n", target, files.size());
}

} // namespace

TEST(FuzzCorpus, GenicamXmlInputsAreRefusedOrWalked)
{
    Replay("genicam_xml", lumivue::fuzz::GenicamXml);
}

TEST(FuzzCorpus, XmlReaderInputsAreRefusedOrRead)
{
    Replay("xml_reader", lumivue::fuzz::XmlReader);
}

TEST(FuzzCorpus, WorkspaceFileInputsAreReadAndWrittenAgain)
{
    Replay("workspace_file", lumivue::fuzz::WorkspaceFile);
}

TEST(FuzzCorpus, ParameterFileInputsAreRefusedOrLoaded)
{
    Replay("parameter_file", lumivue::fuzz::ParameterFile);
}
