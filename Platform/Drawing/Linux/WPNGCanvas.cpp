#include "Drawing/WCanvas.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Memory/WPages.h"

#include <bit>
#include <cairo.h>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <mutex>
#include <numbers>
#include <png.h>
#include <stdexcept>
#include <string>
#include <vector>

// cairo draws, libpng writes. cairo keeps the first error of a context and ignores everything after it, so
// errors are looked for once, in Encode and DrawPicture. Text is drawn as a path of its outlines, unhinted:
// so the same text has the same shape at every angle and size, and its width is proportional to its size.

namespace
{
/// The bytes that libpng writes, and what went wrong: libpng is C code, which no exception may pass.
struct Target
{
    std::string bytes;
    char message[128] = {};
};

void AppendBytes( png_structp inPNG, png_bytep inData, size_t inCount )
{
    auto& target = *static_cast<Target*>( png_get_io_ptr( inPNG ) );
    try
    {
        target.bytes.append( reinterpret_cast<const char*>( inData ), inCount );
    }
    catch ( ... )
    {
        png_error( inPNG, "not enough memory" );
    }
}

[[noreturn]] void KeepWriteMessage( png_structp inPNG, png_const_charp inText )
{
    auto& target = *static_cast<Target*>( png_get_error_ptr( inPNG ) );
    std::snprintf( target.message, sizeof( target.message ), "%s", inText );
    png_longjmp( inPNG, 1 );
}

void IgnoreWriteWarning( png_structp, png_const_charp ) {}
void IgnoreFlush( png_structp ) {}

struct Pixels
{
    png_uint_32 width;
    png_uint_32 height;
    png_uint_32 dotsPerMetre; // 0: unknown
    std::vector<png_bytep> rows;
};

// libpng may jump back into this function, which has no objects to destroy.
bool WritePixels( png_structp inPNG, png_infop inInfo, Pixels& inPixels )
{
    if ( !inInfo || setjmp( png_jmpbuf( inPNG ) ) )
        return false;
    png_set_IHDR(
        inPNG, inInfo, inPixels.width, inPixels.height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
        PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT );
    if ( inPixels.dotsPerMetre > 0 )
        png_set_pHYs( inPNG, inInfo, inPixels.dotsPerMetre, inPixels.dotsPerMetre, PNG_RESOLUTION_METER );
    // Flat colours and grey pixels, whose three bytes are alike, pack best, and fastest, as they are.
    png_set_filter( inPNG, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE );
    // Higher levels take several times longer for a few per cent.
    png_set_compression_level( inPNG, 3 );
    png_write_info( inPNG, inInfo );

    // Each pixel is a word of 32 bits, of which the highest 8 are not used and blue is the lowest.
    constexpr auto kIsLittle = std::endian::native == std::endian::little;
    png_set_filler( inPNG, 0, kIsLittle ? PNG_FILLER_AFTER : PNG_FILLER_BEFORE );
    if ( kIsLittle )
        png_set_bgr( inPNG );
    png_write_image( inPNG, inPixels.rows.data() );
    png_write_end( inPNG, nullptr );
    return true;
}

std::string EncodePixels( Pixels& inPixels )
{
    Target target;
    auto* png =
        png_create_write_struct( PNG_LIBPNG_VER_STRING, &target, KeepWriteMessage, IgnoreWriteWarning );
    auto* info = png ? png_create_info_struct( png ) : nullptr;
    if ( png )
        png_set_write_fn( png, &target, AppendBytes, IgnoreFlush );
    const auto isWritten = WritePixels( png, info, inPixels );
    png_destroy_write_struct( &png, &info );
    if ( !isWritten )
        throw std::runtime_error( std::string( "the picture cannot be encoded: " ) + target.message );
    return std::move( target.bytes );
}

void CheckRoom( std::uint64_t inRoom )
{
    auto* const pages = WPages::Allocate( inRoom );
    if ( !pages )
        XThrow( kErrorOutOfMemory );
    WPages::Free( pages, inRoom );
}

void SelectFont( cairo_t* ioCairo )
{
    cairo_select_font_face( ioCairo, "Arial", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL );
}

/// Loads the settings and lists of fonts.
void LoadFonts()
{
    auto* const surface = cairo_image_surface_create( CAIRO_FORMAT_RGB24, 1, 1 );
    auto* const cairo = cairo_create( surface );
    cairo_text_extents_t extents{};
    SelectFont( cairo );
    cairo_text_extents( cairo, "0", &extents );
    cairo_destroy( cairo );
    cairo_surface_destroy( surface );
}

/// The library that finds fonts crashes, or leaves fonts out, where memory ends while it works. So there must be plenty
/// before it is called: the first time, and then for each size of a font. Throws 1012.
void CheckRoomForFonts()
{
    constexpr std::uint64_t kMebibyte = 1024 * 1024, kFirst = 64 * kMebibyte, kLater = 16 * kMebibyte;
    static std::once_flag sLoading;
    std::call_once(
        sLoading,
        []
        {
            CheckRoom( kFirst );
            LoadFonts();
        } );
    CheckRoom( kLater );
}

class PNGCanvas : public WCanvas
{
public:
    PNGCanvas( int inWidth, int inHeight, double inPixelsPerUnit, std::uint32_t inDotsPerMetre );
    ~PNGCanvas() override;

    void DrawPicture( const WGreyPicture& inPicture );
    void Fill( const Path& inPolygon, const WColour& inColour ) override;
    void FillDisc( WPoint inCentre, double inRadius, const WColour& inColour ) override;
    void Stroke( const std::vector<Path>& inPaths, bool inAreClosed, const WStroke& inStroke ) override;
    std::string Encode() override;

protected:
    void DrawTextSelf( const std::string& inText, WPoint inPlace, const WTextStyle& inStyle ) override;
    double GetTextWidthSelf( const std::string& inText, double inSize ) override;

private:
    cairo_surface_t* itsSurface;
    cairo_t* itsCairo;
    std::uint32_t itsDotsPerMetre;

    void Check() const;
    void SetColour( const WColour& inColour );
    void StrokePath( const WStroke& inStroke );
    void AddPath( const Path& inPath, bool inIsClosed );
    void UseShapesOfFont();
};

PNGCanvas::PNGCanvas( int inWidth, int inHeight, double inPixelsPerUnit, std::uint32_t inDotsPerMetre )
    : itsSurface( cairo_image_surface_create( CAIRO_FORMAT_RGB24, inWidth, inHeight ) ),
      itsCairo( cairo_create( itsSurface ) ), itsDotsPerMetre( inDotsPerMetre )
{
    SetColour( { 255, 255, 255 } );
    cairo_paint( itsCairo );
    cairo_scale( itsCairo, inPixelsPerUnit, inPixelsPerUnit );
    cairo_set_line_join( itsCairo, CAIRO_LINE_JOIN_ROUND );
    SelectFont( itsCairo );
    UseShapesOfFont();
}

PNGCanvas::~PNGCanvas()
{
    cairo_destroy( itsCairo );
    cairo_surface_destroy( itsSurface );
}

/// Letters are not fitted to pixels, so that text runs alike at every size.
void PNGCanvas::UseShapesOfFont()
{
    auto* const options = cairo_font_options_create();
    cairo_font_options_set_antialias( options, CAIRO_ANTIALIAS_GRAY );
    cairo_font_options_set_hint_style( options, CAIRO_HINT_STYLE_NONE );
    cairo_font_options_set_hint_metrics( options, CAIRO_HINT_METRICS_OFF );
    cairo_set_font_options( itsCairo, options );
    cairo_font_options_destroy( options );
}

/// A canvas that has failed ignores all further calls, so that it is enough to ask at the end.
void PNGCanvas::Check() const
{
    const auto status = cairo_status( itsCairo );
    if ( status == CAIRO_STATUS_NO_MEMORY )
        XThrow( kErrorOutOfMemory );
    if ( status != CAIRO_STATUS_SUCCESS )
        throw std::runtime_error(
            std::string( "the picture cannot be drawn: " ) + cairo_status_to_string( status ) );
}

void PNGCanvas::DrawPicture( const WGreyPicture& inPicture )
{
    Check();
    cairo_surface_flush( itsSurface );
    auto* const pixels = cairo_image_surface_get_data( itsSurface );
    const auto stride = static_cast<std::size_t>( cairo_image_surface_get_stride( itsSurface ) );
    for ( std::size_t y = 0; y < inPicture.height; ++y )
        ConvertRow( inPicture, y, reinterpret_cast<std::uint32_t*>( pixels + y * stride ) );
    cairo_surface_mark_dirty( itsSurface );
}

void PNGCanvas::SetColour( const WColour& inColour )
{
    cairo_set_source_rgba(
        itsCairo, inColour.red / 255.0, inColour.green / 255.0, inColour.blue / 255.0, inColour.alpha );
}

void PNGCanvas::AddPath( const Path& inPath, bool inIsClosed )
{
    cairo_new_sub_path( itsCairo );
    for ( const auto& point : inPath )
        cairo_line_to( itsCairo, point.x, point.y );
    if ( inIsClosed )
        cairo_close_path( itsCairo );
}

void PNGCanvas::Fill( const Path& inPolygon, const WColour& inColour )
{
    AddPath( inPolygon, true );
    SetColour( inColour );
    cairo_fill( itsCairo );
}

void PNGCanvas::FillDisc( WPoint inCentre, double inRadius, const WColour& inColour )
{
    cairo_new_sub_path( itsCairo );
    cairo_arc( itsCairo, inCentre.x, inCentre.y, inRadius, 0, 2 * std::numbers::pi );
    SetColour( inColour );
    cairo_fill( itsCairo );
}

void PNGCanvas::Stroke( const std::vector<Path>& inPaths, bool inAreClosed, const WStroke& inStroke )
{
    for ( const auto& path : inPaths )
        AddPath( path, inAreClosed );
    StrokePath( inStroke );
    cairo_new_path( itsCairo );
}

void PNGCanvas::StrokePath( const WStroke& inStroke )
{
    SetColour( inStroke.colour );
    cairo_set_line_width( itsCairo, inStroke.width );
    cairo_stroke_preserve( itsCairo );
}

void PNGCanvas::DrawTextSelf( const std::string& inText, WPoint inPlace, const WTextStyle& inStyle )
{
    const auto shift = GetShift( GetTextWidthSelf( inText, inStyle.size ), inStyle.anchor );
    cairo_save( itsCairo );
    cairo_translate( itsCairo, inPlace.x, inPlace.y );
    cairo_rotate( itsCairo, -inStyle.angle * std::numbers::pi / 180 );
    cairo_move_to( itsCairo, -shift, 0 );
    cairo_text_path( itsCairo, inText.c_str() );
    if ( inStyle.halo.width > 0 )
        StrokePath( inStyle.halo );
    SetColour( inStyle.colour );
    cairo_fill( itsCairo );
    cairo_restore( itsCairo );
}

double PNGCanvas::GetTextWidthSelf( const std::string& inText, double inSize )
{
    CheckRoomForFonts();
    cairo_text_extents_t extents{};
    cairo_set_font_size( itsCairo, inSize );
    cairo_text_extents( itsCairo, inText.c_str(), &extents );
    return extents.x_advance;
}

std::string PNGCanvas::Encode()
{
    Check();
    cairo_surface_flush( itsSurface );
    auto* const pixels = cairo_image_surface_get_data( itsSurface );
    const auto stride = static_cast<std::size_t>( cairo_image_surface_get_stride( itsSurface ) );
    Pixels picture{
        static_cast<png_uint_32>( cairo_image_surface_get_width( itsSurface ) ),
        static_cast<png_uint_32>( cairo_image_surface_get_height( itsSurface ) ),
        itsDotsPerMetre,
        {} };
    for ( std::size_t y = 0; y < picture.height; ++y )
        picture.rows.push_back( pixels + y * stride );
    return EncodePixels( picture );
}
} // namespace

std::unique_ptr<WCanvas> WCanvas::MakePNG( double inWidth, double inHeight, double inDotsPerInch )
{
    return std::make_unique<PNGCanvas>(
        ToDots( inWidth, inDotsPerInch ), ToDots( inHeight, inDotsPerInch ), inDotsPerInch / 72,
        static_cast<std::uint32_t>( std::lround( inDotsPerInch / 0.0254 ) ) );
}

std::unique_ptr<WCanvas> WCanvas::MakePNG( const WGreyPicture& inPicture )
{
    auto canvas = std::make_unique<PNGCanvas>(
        static_cast<int>( inPicture.width ), static_cast<int>( inPicture.height ), 1, 0 );
    canvas->DrawPicture( inPicture );
    return canvas;
}
