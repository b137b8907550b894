#include "WReplaceFile.h"

#include "Core/XFail.h"
#include "WSystemError.h"
#include "WUnfinishedFiles.h"

#include <random>
#include <string>
#include <system_error>

namespace fs = std::filesystem;

namespace
{

void CheckError( const std::error_code& inError )
{
    if ( !inError )
        return;
    WSystemError::SetLast( WSystemError::FromErrorCode( inError ) );
    XThrowLastSystemError();
}

bool Exists( const fs::path& inPath )
{
    std::error_code error;
    return fs::exists( inPath, error );
}

/// The file behind a symbolic link.
fs::path ResolveTarget( const fs::path& inTarget )
{
    std::error_code error;
    auto resolved = fs::weakly_canonical( inTarget, error );
    CheckError( error );
    return resolved;
}

/// Short, so that it fits beside a target with the longest of names.
std::string MakeTemporaryName()
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::random_device random;
    std::string name = ".korvale-";
    for ( int i = 0; i < 16; ++i )
        name += kDigits[random() & 15u];
    return name + ".tmp";
}

} // namespace

WReplaceFile::WReplaceFile( const fs::path& inTarget ) : itsTarget( inTarget )
{
    itsIsDirect = WFile::IsDevice( inTarget );
    if ( itsIsDirect )
    {
        itsPath = itsTarget;
        itsFile.Open( itsPath, WFile::kCreate );
        return;
    }
    itsTarget = ResolveTarget( inTarget );
    const bool isReplacement = Exists( itsTarget );
    if ( isReplacement )
        WFile( itsTarget, WFile::kReadWrite ).Close();
    itsPath = itsTarget.parent_path() / MakeTemporaryName();
    {
        const auto hold = WUnfinishedFiles::Hold();
        itsFile.Open( itsPath, WFile::kCreateNew );
        WUnfinishedFiles::Add( itsPath );
    }
    std::error_code error;
    if ( isReplacement )
        fs::permissions( itsPath, fs::status( itsTarget, error ).permissions(), error );
}

WReplaceFile::~WReplaceFile()
{
    if ( itsIsDirect || itsIsCommitted )
        return;
    itsFile = WFile();
    const auto hold = WUnfinishedFiles::Hold();
    std::error_code error;
    fs::remove( itsPath, error );
    WUnfinishedFiles::Forget( itsPath );
}

void WReplaceFile::Complete()
{
    if ( !itsFile.IsOpen() )
        return;
    itsFile.Flush();
    itsFile.Close();
}

void WReplaceFile::Commit()
{
    XAssert( !itsIsCommitted );
    Complete();
    if ( !itsIsDirect )
    {
        const auto hold = WUnfinishedFiles::Hold();
        std::error_code error;
        fs::rename( itsPath, itsTarget, error );
        CheckError( error );
        WUnfinishedFiles::Forget( itsPath );
    }
    itsIsCommitted = true;
}
