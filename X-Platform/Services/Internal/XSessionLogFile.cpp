#include "Services/Internal/XSessionLogFile.h"

#include <system_error>

XSessionLogFile::XSessionLogFile(
    std::filesystem::path inPath, std::uint64_t inMaxBytes, unsigned inOldFiles )
    : itsPath( std::move( inPath ) ), itsMaxBytes( inMaxBytes ), itsOldFiles( inOldFiles )
{
}

bool XSessionLogFile::Write( const std::string& inText )
{
    if ( ( !itsFile.is_open() || HasGone() ) && !Open() )
        return false;
    const auto length = static_cast<std::uint64_t>( itsFile.tellp() );
    itsFile.write( inText.data(), static_cast<std::streamsize>( inText.size() ) );
    itsFile.flush();
    if ( !itsFile )
    {
        TakeBack( length );
        return false;
    }
    if ( static_cast<std::uint64_t>( itsFile.tellp() ) >= itsMaxBytes )
        Rotate();
    return true;
}

bool XSessionLogFile::Open()
{
    std::error_code ignored; // a missing folder makes Open fail
    std::filesystem::create_directories( itsPath.parent_path(), ignored );
    itsFile.close();
    itsFile.clear();
    itsFile.open( itsPath, std::ios::binary | std::ios::app | std::ios::ate );
    return itsFile.is_open();
}

bool XSessionLogFile::HasGone() const
{
    std::error_code ignored;
    return !std::filesystem::exists( itsPath, ignored );
}

/// Closes the file, so that the next write reopens it, and truncates it to its previous length.
void XSessionLogFile::TakeBack( std::uint64_t inLength )
{
    itsFile.close();
    std::error_code ignored;
    std::filesystem::resize_file( itsPath, inLength, ignored );
}

/// Where renaming fails, the file grows on.
void XSessionLogFile::Rotate()
{
    itsFile.close();
    std::error_code ignored;
    for ( unsigned number = itsOldFiles; number > 0; --number )
        std::filesystem::rename( GetOldPath( number - 1 ), GetOldPath( number ), ignored );
    if ( itsOldFiles == 0 )
        std::filesystem::remove( itsPath, ignored );
}

/// Number 0 is the file in use.
std::filesystem::path XSessionLogFile::GetOldPath( unsigned inNumber ) const
{
    auto path = itsPath;
    if ( inNumber > 0 )
        path += "." + std::to_string( inNumber );
    return path;
}
