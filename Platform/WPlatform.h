#pragma once

/// What the compiler and the system decide for every other header: symbol visibility and nothing else.

#if defined( _WIN32 )
    #if defined( KORVALE_BUILDING_CORE )
        #define KORVALE_API __declspec( dllexport )
    #else
        #define KORVALE_API __declspec( dllimport )
    #endif
#else
    #define KORVALE_API __attribute__( ( visibility( "default" ) ) )
#endif
