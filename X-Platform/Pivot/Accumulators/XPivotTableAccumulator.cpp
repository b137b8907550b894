#include "Pivot/Accumulators/XPivotTableAccumulator.h"

#include "Core/Streams/XStream.h"
#include "Ground/XErrorNumbers.h"
#include "Pivot/Accumulators/Internal/XPivotAccumulators.h"

XPivotTableAccumulator::XPivotTableAccumulator( XPivotTableAccumulatorType inType )
{
    AddType( inType );
}

const XPivotTableAccumulator::XAccumulatorManager& XPivotTableAccumulator::GetAccumulatorManager()
{
    static const XAccumulatorManager sAccumulatorManager;
    return sAccumulatorManager;
}

void XPivotTableAccumulator::AddType( XPivotTableAccumulatorType inType )
{
    GetAccumulatorManager().Get( inType ); // refuses what is no type
    itsTypes.insert( inType );
    itsNumValues = 0;
    itsColumnStrings.clear();
    for ( const auto type : itsTypes )
    {
        const auto& implementation = GetAccumulatorManager().Get( type );
        itsNumValues += implementation.GetNumValues();
        for ( const XString& text : implementation.GetColumnStrings() )
            itsColumnStrings.push_back( text );
    }
}

XVector<std::pair<bool, double>> XPivotTableAccumulator::GetDefaultFloats() const
{
    XVector<std::pair<bool, double>> floats;
    for ( const auto type : itsTypes )
    {
        for ( const XResultValue& result : GetAccumulatorManager().Get( type ).GetDefaultResult() )
            floats.emplace_back( result.isValid, result.value );
    }
    return floats;
}

XString XPivotTableAccumulator::GetStringDescription() const
{
    if ( itsTypes.size() != 1 )
        return "Multiple values";
    return GetAccumulatorManager().Get( *itsTypes.begin() ).GetDescription();
}

void XPivotTableAccumulator::GetAllAccumulatorDescriptions( XVector<XString>& outDescriptions )
{
    outDescriptions.clear();
    for ( std::size_t type = 0; type < XAccumulatorManager::kTypes; ++type )
    {
        const auto& implementation =
            GetAccumulatorManager().Get( static_cast<XPivotTableAccumulatorType>( type ) );
        outDescriptions.push_back( implementation.GetDescription() );
    }
}

XPivotTableAccumulator::XAccumulationResult
XPivotTableAccumulator::AccumulateColumn( const XPivotColumn& inColumn ) const
{
    const XPivotColumnSummary summary( inColumn );
    XAccumulationResult results;
    for ( const auto type : itsTypes )
    {
        for ( XResultValue& result : GetAccumulatorManager().Get( type ).Accumulate( summary ) )
            results.push_back( std::move( result ) );
    }
    return results;
}

USize64 XPivotTableAccumulator::GetStreamUsage() const
{
    return sizeof( std::uint32_t ) + 1 + itsTypes.size();
}

void XPivotTableAccumulator::ReadStream2( XStream& inStream, XOptions )
{
    ReadCheckedVersion( inStream, GetClassVersion() );
    const std::uint8_t count = inStream.Read8();
    XPivotTableAccumulator read;
    read.itsTypes.clear();
    read.itsNumValues = 0;
    read.itsColumnStrings.clear();
    for ( std::uint8_t i = 0; i < count; ++i )
    {
        const std::uint8_t type = inStream.Read8();
        if ( type >= XAccumulatorManager::kTypes )
            XThrow( kErrorStreamCorrupted );
        read.AddType( static_cast<XPivotTableAccumulatorType>( type ) );
    }
    *this = read;
}

void XPivotTableAccumulator::WriteStream2( XStream& inStream, XOptions ) const
{
    inStream.WriteVersion( GetClassVersion() );
    inStream.Write8( static_cast<std::uint8_t>( itsTypes.size() ) );
    for ( const auto type : itsTypes )
        inStream.Write8( type );
}
