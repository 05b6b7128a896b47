#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// A folder of a test's own, gone with it.
class CTempFolder
{
public:
    CTempFolder()
        : m_path(std::filesystem::temp_directory_path() /
                 ("zkhost-test-" + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count())))
    {
        std::filesystem::create_directories(m_path);
    }
    ~CTempFolder()
    {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;

    std::string Path(const std::string& _strName) const
    {
        return (m_path / _strName).string();
    }
    std::string Write(const std::string& _strName, const std::string& _strBytes) const
    {
        std::ofstream(Path(_strName), std::ios::binary) << _strBytes;
        return Path(_strName);
    }
    std::string Read(const std::string& _strName) const
    {
        std::ifstream file(Path(_strName), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    size_t Files() const
    {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(m_path), {}));
    }

private:
    std::filesystem::path m_path;
};

/// What a call that has to fail says; empty (and a failed test) when it did not fail.
template <class Body> std::string Host_FailureOf(const Body& _body)
{
    try
    {
        _body();
    }
    catch (const std::exception& error)
    {
        return error.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}
