// Memory handles beside what the system gives: locks beside a mutex, fresh memory beside malloc, purges beside writing a
// file, reloads beside mapping one, one decision what to purge, and the stream form beside memcpy and zlib.

#include "Core/Streams/XMemStream.h"
#include "Files/WTemporaryFile.h"
#include "Memory/WFileMapping.h"
#include "Memory/WMemoryManager.h"
#include "Memory/XMappedFileMemoryHandle.h"
#include "Threads/XLock.h"
#include "Threads/XThreadLock.h"

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <random>

namespace
{

constexpr USize64 kMiB = 1024 * 1024;
constexpr USize64 kLarge = 256 * kMiB;
constexpr unsigned kBlocks = 10'000;

/// Times the action and not what the loop does before and after it.
template<class Action>
void Time( benchmark::State& ioState, Action inAction )
{
    const auto begin = std::chrono::steady_clock::now();
    inAction();
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    ioState.SetIterationTime( time.count() );
}

void CountBytes( benchmark::State& ioState, USize64 inBytes )
{
    ioState.SetBytesProcessed( ioState.iterations() * static_cast<std::int64_t>( inBytes ) );
}

/// One byte of every cache line, as a reader of an image touches it.
std::uint64_t ReadAll( const void* inData, USize64 inSize )
{
    const auto* bytes = static_cast<const std::uint8_t*>( inData );
    std::uint64_t sum = 0;
    for ( USize64 i = 0; i < inSize; i += 64 )
        sum += bytes[i];
    return sum;
}

/// Pixels of a camera: noise in a few bits.
std::vector<std::uint8_t> MakePixels( USize64 inSize )
{
    std::minstd_rand random( 1 );
    std::vector<std::uint8_t> pixels( inSize );
    for ( USize64 i = 0; i + 1 < inSize; i += 2 )
        pixels[i] = static_cast<std::uint8_t>( 100 + random() % 16 );
    return pixels;
}

// ---- Locks

void LockMutex( benchmark::State& ioState )
{
    XMutex mutex;
    for ( auto _ : ioState )
    {
        const XThreadLock lock( mutex );
        benchmark::ClobberMemory();
    }
}

template<class THandle>
void LockHandle( benchmark::State& ioState )
{
    THandle handle( kMiB );
    {
        const XLock lock( handle, kLockForWrite );
        std::memset( handle.GetData(), 1, kMiB );
    }
    for ( auto _ : ioState )
    {
        const XLock lock( handle, kLockForRead );
        benchmark::DoNotOptimize( handle.GetData() );
    }
}

// ---- Fresh memory

void FillMalloc( benchmark::State& ioState )
{
    const auto size = static_cast<USize64>( ioState.range( 0 ) ) * kMiB;
    for ( auto _ : ioState )
    {
        void* data = std::malloc( size );
        std::memset( data, 1, size );
        benchmark::DoNotOptimize( data );
        std::free( data );
    }
    CountBytes( ioState, size );
}

template<class THandle>
void FillHandle( benchmark::State& ioState )
{
    const auto size = static_cast<USize64>( ioState.range( 0 ) ) * kMiB;
    for ( auto _ : ioState )
    {
        THandle handle( size );
        const XLock lock( handle, kLockForWrite );
        std::memset( handle.GetData(), 1, size );
    }
    CountBytes( ioState, size );
}

// ---- Purges and reloads

std::vector<XMappedFileMemoryHandle> MakeFilled( USize64 inSize )
{
    std::vector<XMappedFileMemoryHandle> handles;
    for ( USize64 size = 0; size < kLarge; size += inSize )
    {
        handles.emplace_back( inSize );
        const XLock lock( handles.back(), kLockForWrite );
        std::memset( handles.back().GetData(), 1, inSize );
    }
    return handles;
}

void WriteTemporaryFile( benchmark::State& ioState )
{
    const std::vector<char> bytes( kLarge, 1 );
    const auto folder = XMemoryManager::GetManager()->GetTemporaryFolder();
    for ( auto _ : ioState )
    {
        std::unique_ptr<WTemporaryFile> file;
        Time(
            ioState,
            [&]
            {
                file = std::make_unique<WTemporaryFile>( folder );
                file->WriteAt( 0, bytes.data(), kLarge );
            } );
    }
    CountBytes( ioState, kLarge );
}

void PurgeBlocks( benchmark::State& ioState )
{
    for ( auto _ : ioState )
    {
        auto handles = MakeFilled( static_cast<USize64>( ioState.range( 0 ) ) * kMiB );
        Time(
            ioState,
            [&]
            {
                for ( auto& handle : handles )
                    handle.Purge();
            } );
    }
    CountBytes( ioState, kLarge );
}

void MapAndReadFile( benchmark::State& ioState )
{
    const auto file = std::make_shared<WTemporaryFile>( XMemoryManager::GetManager()->GetTemporaryFolder() );
    file->WriteAt( 0, std::vector<char>( kLarge, 1 ).data(), kLarge );
    for ( auto _ : ioState )
    {
        WFileMapping mapping( file, 0, kLarge, XFileMappingBase::kPageReadWrite );
        Time(
            ioState,
            [&]
            {
                mapping.MapView( kLarge, XFileMappingBase::kPageReadWrite );
                benchmark::DoNotOptimize( ReadAll( mapping.GetViewData(), kLarge ) );
            } );
    }
    CountBytes( ioState, kLarge );
}

void LockAndReadPurged( benchmark::State& ioState )
{
    auto handles = MakeFilled( kLarge );
    for ( auto _ : ioState )
    {
        handles[0].Purge();
        Time(
            ioState,
            [&]
            {
                const XLock lock( handles[0], kLockForRead );
                benchmark::DoNotOptimize( ReadAll( handles[0].GetData(), kLarge ) );
            } );
    }
    CountBytes( ioState, kLarge );
}

// ---- Decisions

/// Asks for more address space than any block opens, so that every block and every run is looked at.
void DecideAmongBlocks( benchmark::State& ioState )
{
    std::vector<XMappedFileMemoryHandle> handles;
    for ( unsigned i = 0; i < kBlocks; ++i )
    {
        handles.emplace_back( 4096 );
        const XLock lock( handles.back(), kLockForWrite );
    }
    XMemoryManager& manager = *XMemoryManager::GetManager();
    const USize64 bytes = manager.GetAddressSpaceSize();
    for ( auto _ : ioState )
        manager.FreeMemory( bytes, XMemoryManager::kFreeWithoutLogEntry );
    if ( manager.GetPurgeableBlockCount() < kBlocks )
        ioState.SkipWithError( "blocks were purged" );
}

// ---- The stream form

void CopyBytes( benchmark::State& ioState )
{
    const auto pixels = MakePixels( kLarge );
    std::vector<std::uint8_t> target( kLarge );
    for ( auto _ : ioState )
    {
        std::memcpy( target.data(), pixels.data(), kLarge );
        benchmark::ClobberMemory();
    }
    CountBytes( ioState, kLarge );
}

void CompressWithZlib( benchmark::State& ioState )
{
    const auto pixels = MakePixels( kLarge );
    std::vector<std::uint8_t> target( kLarge );
    for ( auto _ : ioState )
    {
        uLongf length = kLarge;
        compress2( target.data(), &length, pixels.data(), kLarge, 1 );
        benchmark::ClobberMemory();
    }
    CountBytes( ioState, kLarge );
}

void WriteHandle( benchmark::State& ioState )
{
    const auto pixels = MakePixels( kLarge );
    XMemoryHandle handle( kLarge );
    handle.CopyDataFrom( pixels.data(), kLarge );
    XMemStream stream( kLarge + 1000 );
    stream.WriteFiller( kLarge ); // its memory is warm, as the peers' is
    for ( auto _ : ioState )
    {
        stream.Clear();
        handle.WriteStream( stream, static_cast<XMemoryHandle::XCompressionType>( ioState.range( 0 ) ) );
    }
    CountBytes( ioState, kLarge );
}

} // namespace

// Two threads have a mutex or a handle each: compare the processor times.
BENCHMARK( LockMutex )->Threads( 1 )->Threads( 2 );
BENCHMARK( LockHandle<XMemoryHandle> )->Threads( 1 )->Threads( 2 );
BENCHMARK( LockHandle<XMappedFileMemoryHandle> )->Threads( 1 )->Threads( 2 );
BENCHMARK( FillMalloc )->Arg( 1 )->Arg( 64 );
BENCHMARK( FillHandle<XMemoryHandle> )->Arg( 1 )->Arg( 64 );
BENCHMARK( FillHandle<XMappedFileMemoryHandle> )->Arg( 1 )->Arg( 64 );
BENCHMARK( WriteTemporaryFile )->UseManualTime()->Unit( benchmark::kMillisecond );
BENCHMARK( PurgeBlocks )->Arg( 1 )->Arg( 32 )->Arg( 256 )->UseManualTime()->Unit( benchmark::kMillisecond );
BENCHMARK( MapAndReadFile )->UseManualTime()->Unit( benchmark::kMillisecond );
BENCHMARK( LockAndReadPurged )->UseManualTime()->Unit( benchmark::kMillisecond );
BENCHMARK( DecideAmongBlocks )->Unit( benchmark::kMillisecond );
BENCHMARK( CopyBytes )->Unit( benchmark::kMillisecond );
BENCHMARK( WriteHandle )->Arg( 0 )->Arg( 1 )->Unit( benchmark::kMillisecond );
BENCHMARK( CompressWithZlib )->Unit( benchmark::kMillisecond );
BENCHMARK_MAIN();
