#pragma once

/// `KORVALE_EXTERN_TEMPLATE( class KORVALE_API Name<Type> );` declares an instantiation of a class template
/// that is part of the library. On Windows, users of the library get no such declaration: with it, a compiler
/// that does not inline would import inline members, which the library does not export.

#if defined( _WIN32 ) && !defined( KORVALE_BUILDING_CORE )
    #define KORVALE_EXTERN_TEMPLATE( ... )
#else
    #define KORVALE_EXTERN_TEMPLATE( ... ) extern template __VA_ARGS__
#endif
