#include "Files/WReplaceFile.h"

#include "Files/WFilePath.h"
#include "Files/WPendingFiles.h"
#include "Ground/XFail.h"
#include "System/WSystemError.h"

#include <atomic>
#include <random>
#include <string>
#include <system_error>
#include <utility>

// The states of a replacement, and what exists in the file system in each:
//
//   writing     the target as it was; the new file without a name (Linux) or with a hidden one (itsPath)
//   committed   the new file as the target; the old one under a hidden name (itsOldPath) if KeepOld was called
//   undone      the target as it was; the new file under its hidden name
//   kept        like undone, and a second, visible name of the new file (KeepNew)
//
// Renaming replaces a file in one step, so at every moment the target is either the old or the new file.
// Every hidden name is registered with WPendingFiles before the file is created, and Hold keeps an interrupt
// from coming between two steps; so an interrupted process leaves nothing behind.
//
// Committing checks the target again: it may have become a folder, or read-only, while the new file was
// written. A device, or a descriptor such as /dev/stdout, is written directly and cannot be undone.

namespace fs = std::filesystem;

namespace
{

std::atomic<unsigned> sUnnamedFiles = 0;

void CheckError( const std::error_code& inError )
{
    if ( !inError )
        return;
    WSystemError::SetLast( WSystemError::FromErrorCode( inError ) );
    XThrowLastSystemError();
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

/// Gives the file a second name; if the file system has no hard links, renames it.
std::error_code LinkOrMove( const fs::path& inFrom, const fs::path& inTo )
{
    std::error_code error;
    fs::create_hard_link( inFrom, inTo, error );
    if ( !error )
        return error;
    if ( WFilePath::Exists( inTo ) )
        return std::make_error_code( std::errc::file_exists );
    fs::rename( inFrom, inTo, error );
    return error;
}

/// Creates a file with a hidden name beside the target, and returns the name. It is registered first, so that
/// it can be removed even when memory runs out.
template<class TMake>
fs::path MakeUnfinished( const fs::path& inTarget, const TMake& inMake )
{
    auto path = inTarget.parent_path() / MakeTemporaryName();
    WPendingFiles::Add( path );
    try
    {
        inMake( path );
    }
    catch ( ... )
    {
        WPendingFiles::Forget( path );
        throw;
    }
    return path;
}

void RemoveUnfinished( const fs::path& inPath )
{
    if ( inPath.empty() )
        return;
    WFilePath::Remove( inPath );
    WPendingFiles::Forget( inPath );
}

} // namespace

WReplaceFile::WReplaceFile( const fs::path& inTarget, Check inCheck ) : itsTarget( inTarget )
{
    itsIsDirect = WFile::IsDevice( inTarget );
    if ( itsIsDirect )
    {
        itsFile.Open( itsTarget, WFile::kCreate );
        return;
    }
    std::error_code error;
    itsTarget = WFilePath::ResolveLinks( inTarget, error );
    CheckError( error );
    if ( inCheck == kCheckAtOnce )
        CheckExistingTarget();
    itsFile = OpenUnnamed( itsTarget.parent_path(), sUnnamedFiles );
    itsIsUnnamed = itsFile.IsOpen();
    if ( itsIsUnnamed )
        // They take descriptors as long as they have no name, so their number is limited (OpenUnnamed).
        ++sUnnamedFiles;
    else
        CreateNamed();
}

WReplaceFile::~WReplaceFile()
{
    if ( itsIsDirect )
        return;
    itsFile = WFile();
    EndUnnamed();
    const auto hold = WPendingFiles::Hold();
    RemoveUnfinished( itsPath ); // Once it is committed, nothing has that name.
    RemoveUnfinished( itsOldPath );
}

void WReplaceFile::CheckTarget( const fs::path& inTarget )
{
    if ( WFile::IsDevice( inTarget ) )
        return WFile::CheckDevice( inTarget );
    WReplaceFile file( inTarget );
    if ( file.itsIsUnnamed )
        file.GiveName();
}

void WReplaceFile::CheckExistingTarget() const
{
    if ( WFilePath::Exists( itsTarget ) )
        CheckReplaceable( itsTarget );
    else
        CheckName( itsTarget );
}

void WReplaceFile::CreateNamed()
{
    const auto hold = WPendingFiles::Hold();
    itsPath = MakeUnfinished(
        itsTarget, [&]( const fs::path& inPath ) { itsFile.Open( inPath, WFile::kCreateNew ); } );
    CopyPermissions( itsPath );
}

void WReplaceFile::CopyPermissions( const fs::path& inPath ) const noexcept
{
    std::error_code error;
    const auto status = fs::status( WFilePath::Exists( itsTarget ) ? itsTarget : itsOldPath, error );
    if ( fs::exists( status ) )
        fs::permissions( inPath, status.permissions(), error );
}

void WReplaceFile::GiveName()
{
    const auto hold = WPendingFiles::Hold();
    itsPath =
        MakeUnfinished( itsTarget, [&]( const fs::path& inPath ) { CheckError( Link( itsFile, inPath ) ); } );
    CopyPermissions( itsPath );
    EndUnnamed();
}

void WReplaceFile::EndUnnamed()
{
    if ( std::exchange( itsIsUnnamed, false ) )
        --sUnnamedFiles;
}

void WReplaceFile::Complete()
{
    if ( !itsFile.IsOpen() )
        return;
    // Before the rename: otherwise a crash of the system could leave the name with an empty file.
    itsFile.Flush();
    if ( !itsIsUnnamed )
        itsFile.Close();
}

void WReplaceFile::Commit()
{
    XAssert( !itsIsCommitted );
    Complete();
    if ( !itsIsDirect )
    {
        const auto hold = WPendingFiles::Hold();
        CheckExistingTarget();
        if ( itsIsUnnamed )
            GiveName();
        itsFile.Close();
        std::error_code error;
        fs::rename( itsPath, itsTarget, error );
        CheckError( error ); // The hidden name stays listed, for Undo.
    }
    itsIsCommitted = true;
}

void WReplaceFile::KeepOld()
{
    XAssert( !itsIsCommitted );
    if ( itsIsDirect || !itsOldPath.empty() || !WFilePath::Exists( itsTarget ) )
        return;
    CheckReplaceable( itsTarget ); // Else the second name might have to stay.
    const auto hold = WPendingFiles::Hold();
    itsOldPath = MakeUnfinished(
        itsTarget, [&]( const fs::path& inPath ) { CheckError( LinkOrMove( itsTarget, inPath ) ); } );
}

void WReplaceFile::Undo() noexcept
{
    if ( itsIsDirect )
        return;
    const auto hold = WPendingFiles::Hold();
    if ( itsIsCommitted )
    {
        // The new file gets its hidden name back first; only then may the target's name be given to the old
        // one.
        if ( LinkOrMove( itsTarget, itsPath ) )
            return LeaveOld();
        itsIsCommitted = false;
        if ( itsOldPath.empty() )
            WFilePath::Remove( itsTarget );
    }
    PutOldBack();
}

void WReplaceFile::LeaveOld() noexcept
{
    if ( itsOldPath.empty() )
        return;
    WPendingFiles::Forget( itsOldPath );
    itsOldPath.clear();
}

void WReplaceFile::PutOldBack() noexcept
{
    if ( itsOldPath.empty() )
        return;
    std::error_code ignored;
    if ( fs::equivalent( itsOldPath, itsTarget, ignored ) )
        WFilePath::Remove( itsOldPath ); // Renaming would leave both names.
    else
        fs::rename( itsOldPath, itsTarget, ignored );
    LeaveOld();
}

fs::path WReplaceFile::KeepNew()
{
    XAssert( !itsIsCommitted && !itsIsDirect );
    constexpr int kMostNames = 1000;
    const auto hold = WPendingFiles::Hold();
    auto start = itsTarget;
    std::error_code error;
    for ( int number = 1; number < kMostNames; ++number )
    {
        auto path = start;
        path += ".new" + ( number > 1 ? "-" + std::to_string( number ) : "" );
        error = itsIsUnnamed ? Link( itsFile, path ) : LinkOrMove( itsPath, path );
        if ( error == std::errc::file_exists )
            continue;
        if ( error && start == itsTarget )
        {
            start.replace_filename( "korvale-output" );
            number = 0;
            continue;
        }
        CheckError( error );
        CopyPermissions( path );
        return path;
    }
    CheckError( error );
    return {};
}
