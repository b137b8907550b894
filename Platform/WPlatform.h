#pragma once

/// Compiler- and system-dependent macros for symbol visibility.

#if defined( _WIN32 )
    #if defined( KORVALE_BUILDING_CORE )
        #define KORVALE_API __declspec( dllexport )
    #else
        #define KORVALE_API __declspec( dllimport )
    #endif
    #if defined( KORVALE_BUILDING_IMAGING )
        #define KORVALE_IMAGING_API __declspec( dllexport )
    #else
        #define KORVALE_IMAGING_API __declspec( dllimport )
    #endif
#else
    #define KORVALE_API __attribute__( ( visibility( "default" ) ) )
    #define KORVALE_IMAGING_API KORVALE_API
#endif
