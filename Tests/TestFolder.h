#pragma once

#include "Testing.h"

#include <filesystem>
#include <fstream>
#include <sstream>

/// An empty folder of a test's own, removed with all that is in it.
struct TestFolder
{
    TestFolder() : itsPath( std::filesystem::temp_directory_path() / MakeName() )
    {
        std::filesystem::create_directories( itsPath );
    }
    TestFolder( const TestFolder& ) = delete;
    TestFolder& operator=( const TestFolder& ) = delete;
    ~TestFolder()
    {
        std::error_code error;
        std::filesystem::remove_all( itsPath, error );
    }

    const std::filesystem::path& GetPath() const { return itsPath; }
    /// Names are in UTF-8.
    std::filesystem::path operator/( const std::string& inName ) const
    {
        return itsPath / std::u8string( inName.begin(), inName.end() );
    }

    /// Makes a file with these contents and returns its path.
    std::filesystem::path Write( const std::string& inName, const std::string& inContents ) const
    {
        std::ofstream( *this / inName, std::ios::binary ) << inContents;
        return *this / inName;
    }

    std::string Read( const std::string& inName ) const
    {
        std::ostringstream contents;
        contents << std::ifstream( *this / inName, std::ios::binary ).rdbuf();
        return contents.str();
    }

    std::size_t CountEntries() const
    {
        const auto entries = std::filesystem::directory_iterator( itsPath );
        return static_cast<std::size_t>( std::distance( begin( entries ), end( entries ) ) );
    }

private:
    static std::string MakeName()
    {
        std::random_device random;
        return "korvale-test-" + std::to_string( random() ) + "-" + std::to_string( random() );
    }

    std::filesystem::path itsPath;
};

/// Where the system has a device that is always full, the path of it; skip the test elsewhere.
inline const std::filesystem::path kFullDevice = "/dev/full";

inline bool HasFullDevice()
{
    return std::filesystem::is_character_file( kFullDevice );
}

/// Descriptors that the process has open; 0 on Windows, where an emulator would show its own.
inline std::ptrdiff_t CountDescriptors()
{
    if ( std::filesystem::path::preferred_separator != '/' )
        return 0;
    std::error_code error;
    const std::filesystem::directory_iterator descriptors( "/proc/self/fd", error );
    return error ? 0 : std::distance( begin( descriptors ), end( descriptors ) );
}
