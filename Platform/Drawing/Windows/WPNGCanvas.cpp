#include "Drawing/WCanvas.h"

#include "System/WCodePage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include <objidl.h>
#include <windows.h>

// GDI+ draws and writes. The page is scaled by a transformation, so lengths are in the units of the caller
// throughout. Text is drawn as a path, and measured at a large size, so that widths are proportional to sizes
// as on the other system.

// The header expects the functions that other headers of the system define as macros.
using std::max;
using std::min;
#include <gdiplus.h>

namespace
{
using namespace Gdiplus;

constexpr CLSID kPNGEncoder{ 0x557CF406, 0x1A04, 0x11D3, { 0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E } };

void CheckDrawing( bool inIsWell, const std::string& inWhat )
{
    if ( !inIsWell )
        throw std::runtime_error( inWhat );
}

void CheckDrawing( Status inStatus )
{
    CheckDrawing(
        inStatus == Ok, "the picture cannot be drawn (GDI+ status " + std::to_string( inStatus ) + ")" );
}

/// GDI+ is there until the process ends, because any canvas may need it.
void StartGDIPlus()
{
    static const auto sStatus = []
    {
        ULONG_PTR token = 0;
        const GdiplusStartupInput input;
        return GdiplusStartup( &token, &input, nullptr );
    }();
    CheckDrawing( sStatus );
}

/// The families that look alike; one of them is everywhere.
std::unique_ptr<FontFamily> FindFontFamily()
{
    for ( const auto* name : { L"Arial", L"Liberation Sans", L"DejaVu Sans" } )
        if ( auto family = std::make_unique<FontFamily>( name ); family->IsAvailable() )
            return family;
    throw std::runtime_error( "the picture cannot be drawn: there is no font of the name Arial or alike" );
}

REAL ToReal( double inNumber )
{
    return static_cast<REAL>( inNumber );
}

PointF ToPoint( WPoint inPoint )
{
    return PointF( ToReal( inPoint.x ), ToReal( inPoint.y ) );
}

Color ToColor( const WColour& inColour )
{
    const auto alpha = static_cast<BYTE>( std::lround( std::clamp( inColour.alpha, 0.0, 1.0 ) * 255 ) );
    return Color( alpha, inColour.red, inColour.green, inColour.blue );
}

/// Returns the contents of a stream over memory.
std::string ReadAll( IStream& inStream )
{
    HGLOBAL memory = nullptr;
    STATSTG state{};
    CheckDrawing(
        SUCCEEDED( GetHGlobalFromStream( &inStream, &memory ) ) &&
            SUCCEEDED( inStream.Stat( &state, STATFLAG_NONAME ) ),
        "the picture cannot be encoded" );
    const auto* bytes = static_cast<const char*>( GlobalLock( memory ) );
    CheckDrawing( bytes != nullptr, "the picture cannot be encoded" );
    std::string text( bytes, state.cbSize.QuadPart );
    GlobalUnlock( memory );
    return text;
}

class PNGCanvas : public WCanvas
{
public:
    PNGCanvas( int inWidth, int inHeight, double inPixelsPerUnit, double inDotsPerInch );

    void DrawPicture( const WGreyPicture& inPicture );
    void Fill( const Path& inPolygon, const WColour& inColour ) override;
    void FillDisc( WPoint inCentre, double inRadius, const WColour& inColour ) override;
    void Stroke( const std::vector<Path>& inPaths, bool inAreClosed, const WStroke& inStroke ) override;
    std::string Encode() override;

protected:
    void DrawTextSelf( const std::string& inText, WPoint inPlace, const WTextStyle& inStyle ) override;
    double GetTextWidthSelf( const std::string& inText, double inSize ) override;

private:
    Bitmap itsBitmap;
    Graphics itsGraphics;
    std::unique_ptr<FontFamily> itsFamily;

    void StrokePath( const GraphicsPath& inPath, const WStroke& inStroke );
    static void AddPath( const Path& inPath, bool inIsClosed, GraphicsPath& ioPath );
};

PNGCanvas::PNGCanvas( int inWidth, int inHeight, double inPixelsPerUnit, double inDotsPerInch )
    : itsBitmap( inWidth, inHeight, PixelFormat32bppRGB ), itsGraphics( &itsBitmap ),
      itsFamily( FindFontFamily() )
{
    CheckDrawing( itsBitmap.GetLastStatus() );
    CheckDrawing( itsGraphics.GetLastStatus() );
    itsBitmap.SetResolution( ToReal( inDotsPerInch ), ToReal( inDotsPerInch ) );
    CheckDrawing( itsGraphics.Clear( ToColor( { 255, 255, 255 } ) ) );
    itsGraphics.SetPageUnit( UnitPixel );
    itsGraphics.SetSmoothingMode( SmoothingModeAntiAlias );
    itsGraphics.SetPixelOffsetMode( PixelOffsetModeHalf ); // The corner of the first pixel is 0, 0.
    itsGraphics.ScaleTransform( ToReal( inPixelsPerUnit ), ToReal( inPixelsPerUnit ) );
}

void PNGCanvas::DrawPicture( const WGreyPicture& inPicture )
{
    const Rect all( 0, 0, static_cast<INT>( inPicture.width ), static_cast<INT>( inPicture.height ) );
    BitmapData data;
    CheckDrawing( itsBitmap.LockBits( &all, ImageLockModeWrite, PixelFormat32bppRGB, &data ) );
    for ( std::size_t y = 0; y < inPicture.height; ++y )
    {
        auto* const row =
            static_cast<std::byte*>( data.Scan0 ) + static_cast<std::ptrdiff_t>( y ) * data.Stride;
        ConvertRow( inPicture, y, reinterpret_cast<std::uint32_t*>( row ) );
    }
    CheckDrawing( itsBitmap.UnlockBits( &data ) );
}

void PNGCanvas::AddPath( const Path& inPath, bool inIsClosed, GraphicsPath& ioPath )
{
    std::vector<PointF> points( inPath.size() );
    std::ranges::transform( inPath, points.begin(), ToPoint );
    const auto count = static_cast<INT>( points.size() );
    CheckDrawing(
        inIsClosed ? ioPath.AddPolygon( points.data(), count ) : ioPath.AddLines( points.data(), count ) );
    ioPath.StartFigure();
}

void PNGCanvas::Fill( const Path& inPolygon, const WColour& inColour )
{
    GraphicsPath path;
    AddPath( inPolygon, true, path );
    const SolidBrush brush( ToColor( inColour ) );
    CheckDrawing( itsGraphics.FillPath( &brush, &path ) );
}

void PNGCanvas::FillDisc( WPoint inCentre, double inRadius, const WColour& inColour )
{
    const SolidBrush brush( ToColor( inColour ) );
    const auto side = ToReal( 2 * inRadius );
    CheckDrawing( itsGraphics.FillEllipse(
        &brush, ToReal( inCentre.x - inRadius ), ToReal( inCentre.y - inRadius ), side, side ) );
}

void PNGCanvas::Stroke( const std::vector<Path>& inPaths, bool inAreClosed, const WStroke& inStroke )
{
    GraphicsPath path;
    for ( const auto& each : inPaths )
        AddPath( each, inAreClosed, path );
    StrokePath( path, inStroke );
}

void PNGCanvas::StrokePath( const GraphicsPath& inPath, const WStroke& inStroke )
{
    Pen pen( ToColor( inStroke.colour ), ToReal( inStroke.width ) );
    pen.SetLineJoin( LineJoinRound );
    CheckDrawing( itsGraphics.DrawPath( &pen, &inPath ) );
}

void PNGCanvas::DrawTextSelf( const std::string& inText, WPoint inPlace, const WTextStyle& inStyle )
{
    const auto shift = GetShift( GetTextWidthSelf( inText, inStyle.size ), inStyle.anchor );
    const auto ascent = inStyle.size * itsFamily->GetCellAscent( FontStyleRegular ) /
        itsFamily->GetEmHeight( FontStyleRegular );
    const auto wide = WCodePage::UTF8ToWide( inText );
    GraphicsPath path( FillModeWinding );
    CheckDrawing( path.AddString(
        wide.c_str(), static_cast<INT>( wide.size() ), itsFamily.get(), FontStyleRegular,
        ToReal( inStyle.size ), PointF( ToReal( -shift ), ToReal( -ascent ) ),
        StringFormat::GenericTypographic() ) );

    const auto state = itsGraphics.Save();
    itsGraphics.TranslateTransform( ToReal( inPlace.x ), ToReal( inPlace.y ) );
    itsGraphics.RotateTransform( ToReal( -inStyle.angle ) );
    if ( inStyle.halo.width > 0 )
        StrokePath( path, inStyle.halo );
    const SolidBrush brush( ToColor( inStyle.colour ) );
    CheckDrawing( itsGraphics.FillPath( &brush, &path ) );
    itsGraphics.Restore( state );
}

double PNGCanvas::GetTextWidthSelf( const std::string& inText, double inSize )
{
    // Measured large, since the widths of small letters are rounded.
    constexpr REAL kLarge = 1000;
    const auto wide = WCodePage::UTF8ToWide( inText );
    StringFormat format( StringFormat::GenericTypographic() );
    format.SetFormatFlags( format.GetFormatFlags() | StringFormatFlagsMeasureTrailingSpaces );
    const Font font( itsFamily.get(), kLarge, FontStyleRegular, UnitPixel );
    Bitmap sheet( 1, 1, PixelFormat32bppRGB );
    const Graphics ruler( &sheet );
    RectF bounds;
    CheckDrawing( ruler.MeasureString(
        wide.c_str(), static_cast<INT>( wide.size() ), &font, PointF(), &format, &bounds ) );
    return bounds.Width * inSize / kLarge;
}

std::string PNGCanvas::Encode()
{
    IStream* stream = nullptr;
    CheckDrawing( SUCCEEDED( CreateStreamOnHGlobal( nullptr, TRUE, &stream ) ), "not enough memory" );
    const std::unique_ptr<IStream, void ( * )( IStream* )> owner(
        stream, []( IStream* inEach ) { inEach->Release(); } );
    CheckDrawing( itsBitmap.Save( stream, &kPNGEncoder, nullptr ) );
    return ReadAll( *stream );
}
} // namespace

std::unique_ptr<WCanvas> WCanvas::MakePNG( double inWidth, double inHeight, double inDotsPerInch )
{
    StartGDIPlus();
    return std::make_unique<PNGCanvas>(
        ToDots( inWidth, inDotsPerInch ), ToDots( inHeight, inDotsPerInch ), inDotsPerInch / 72,
        inDotsPerInch );
}

std::unique_ptr<WCanvas> WCanvas::MakePNG( const WGreyPicture& inPicture )
{
    StartGDIPlus();
    constexpr double kScreen = 96;
    auto canvas = std::make_unique<PNGCanvas>(
        static_cast<int>( inPicture.width ), static_cast<int>( inPicture.height ), 1, kScreen );
    canvas->DrawPicture( inPicture );
    return canvas;
}
