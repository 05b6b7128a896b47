// Runs a fuzz target on files that are given, or lie in folders that are given; no fuzzing.

#include "Support/FuzzTarget.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

int main(int _nArgs, char** _ppszArgs)
{
    namespace fs = std::filesystem;
    std::vector<fs::path> vecFiles;
    for (int i = 1; i < _nArgs; ++i)
        if (fs::is_directory(_ppszArgs[i]))
            for (const fs::directory_entry& entry : fs::directory_iterator(_ppszArgs[i]))
                vecFiles.push_back(entry.path());
        else
            vecFiles.emplace_back(_ppszArgs[i]);
    std::sort(vecFiles.begin(), vecFiles.end());
    for (const fs::path& path : vecFiles)
    {
        std::printf("%s\n", path.filename().c_str()); // the last one printed is the one that failed
        std::fflush(stdout);
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> vecBytes((std::istreambuf_iterator<char>(file)), {});
        if (!file)
        {
            std::fprintf(stderr, "cannot read %s\n", path.c_str());
            return 1;
        }
        // A block of its own, so that not a byte past the input can be read unnoticed.
        const auto upBytes = std::make_unique<uint8_t[]>(vecBytes.size());
        std::copy(vecBytes.begin(), vecBytes.end(), upBytes.get());
        LLVMFuzzerTestOneInput(upBytes.get(), vecBytes.size());
    }
    std::printf("%zu inputs replayed\n", vecFiles.size());
    return vecFiles.empty() ? 1 : 0;
}
