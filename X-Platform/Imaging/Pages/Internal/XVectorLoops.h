#pragma once

#include "WPlatform.h"

// Loops over samples, compiled twice: for the x86-64 baseline and for AVX2, which is selected at run time.
// Fused multiplication is not enabled, so both round alike and pages have the same results on every machine.

/// Marks a lambda for XRunVectorLoop: it must become a part of both versions.
#define KORVALE_VECTOR_LOOP __attribute__( ( always_inline ) )

/// Whether loops use AVX2: if the processor has it. Tests set it to false to run the portable versions.
KORVALE_IMAGING_API bool& XUsesAVX2();

#if defined( __x86_64__ )
template<class TLoop>
__attribute__( ( target( "avx2" ) ) ) void XRunWithAVX2( const TLoop& inLoop )
{
    inLoop();
}
#endif

/// Runs a lambda without parameters that is marked KORVALE_VECTOR_LOOP.
template<class TLoop>
void XRunVectorLoop( const TLoop& inLoop )
{
#if defined( __x86_64__ )
    if ( XUsesAVX2() )
        return XRunWithAVX2( inLoop );
#endif
    inLoop();
}
