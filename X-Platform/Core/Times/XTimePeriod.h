#pragma once

#include "Core/Times/XTime.h"

/// A duration with the unit in which it is shown: "1.5 minutes". A period can also be a count of time points
/// of a sequence; it then has no length in seconds.
///
/// A plain value.
/// Threads: like a number.
/// Errors: 1007 for a length that is not finite or does not fit in an XTime; 1013 for the length of a period
/// in time points, for the time points of a period with a length, and for an unknown unit.
class KORVALE_API XTimePeriod
{
public:
    /// Stored in streams; the values are fixed.
    enum XUnit : std::uint32_t
    {
        kMicroSeconds = 0,
        kMilliSeconds = 1,
        kSeconds = 2,
        kMinutes = 3,
        kHours = 4,
        kDays = 5,
        kWeeks = 6,
        kTimepoints = 7
    };
    static constexpr std::uint32_t kUnitCount = 8;

    /// Zero seconds.
    XTimePeriod() = default;
    explicit XTimePeriod( double inValue, XUnit inUnit );

    /// Changes the unit and keeps the value: 2 minutes become 2 hours. To convert, set the period again.
    void SetUnit( XUnit inUnit );
    XUnit GetUnit() const { return itsUnit; }

    /// In units of `GetUnit`.
    void SetValue( double inValue );
    double GetValue() const { return itsValue; }

    /// Sets the length and keeps the unit. `GetPeriod` rounds to whole microseconds, halves away from zero.
    void SetPeriod( const XTime& inPeriod );
    XTime GetPeriod() const;

    /// Sets the length and keeps the unit.
    void SetPeriodSeconds( double inSeconds );
    double GetPeriodSeconds() const;

    /// Turns the period into one of `inCount` time points.
    void SetTimepointValue( std::uint32_t inCount );
    std::uint32_t GetTimepointValue() const;

    /// The value in its shortest form and the unit: "1.5 minutes", "1 hour".
    XString GetDescription() const;

    /// The name of the unit: "minutes", or "minute" if the value is 1.
    XString GetUnitDescription() const;

    /// The name of a unit in the plural, as a menu shows it.
    static XString GetUnitDescription( XUnit inUnit );

    /// The unit menu lists all units, from microseconds to weeks and then time points; indices start at 0.
    static XUnit GetTimePeriodUnitsFromMenuIndex( std::uint32_t inMenuIndex );
    static std::uint32_t GetTimePeriodMenuIndexFromUnits( XUnit inUnit );

    friend bool operator==( const XTimePeriod&, const XTimePeriod& ) = default;

    /// The stream form: the value as a 64-bit float, then the unit as an unsigned 32-bit integer. Throws 1005
    /// for a value that is not finite, an unknown unit and time points that are not a 32-bit count.
    void ReadStream2( XStream& inStream );
    void WriteStream2( XStream& inStream ) const;
    static constexpr USize64 GetStreamUsage() { return sizeof( double ) + sizeof( std::uint32_t ); }

private:
    double itsValue = 0.0;
    XUnit itsUnit = kSeconds;
};
