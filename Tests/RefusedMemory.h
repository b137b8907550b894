#pragma once

#include <cstdlib>
#include <new>

// The program's operators new and delete, so that a test can refuse memory. One source of a program includes this, and
// defines:

/// Asked at each allocation, on its thread.
bool IsMemoryRefused();

// Inlined, these would look like mismatched calls to the compiler.

[[gnu::noinline]] void* operator new( std::size_t inSize, const std::nothrow_t& ) noexcept
{
    return IsMemoryRefused() ? nullptr : std::malloc( inSize == 0 ? 1 : inSize );
}

[[gnu::noinline]] void* operator new( std::size_t inSize )
{
    void* const block = operator new( inSize, std::nothrow );
    return block ? block : throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete( void* inBlock ) noexcept
{
    std::free( inBlock );
}

[[gnu::noinline]] void operator delete( void* inBlock, std::size_t ) noexcept
{
    std::free( inBlock );
}
