#include "Core/Strings/XString.h"

#include "Core/Errors/XInternalException.h"
#include "Core/Streams/XMemStream.h"
#include "Core/Streams/XStreamVectors.h"
#include "System/WLocale.h"
#include "Testing.h"

namespace
{
std::string RandomText( std::mt19937& ioRandom, std::string_view inAlphabet, std::size_t inMaxLength )
{
    std::string text( ioRandom() % ( inMaxLength + 1 ), ' ' );
    for ( char& character : text )
        character = inAlphabet[ioRandom() % inAlphabet.size()];
    return text;
}

std::string FoldCase( std::string inText )
{
    for ( char& character : inText )
        if ( character >= 'a' && character <= 'z' )
            character = static_cast<char>( character - 'a' + 'A' );
    return inText;
}

/// The natural order, step by step and without regard to speed.
bool IsNaturallyLess( const std::string& inFirst, const std::string& inSecond, char inPoint, char inSign )
{
    const char* first = inFirst.c_str();
    const char* second = inSecond.c_str();
    const auto isDigit = []( char c ) { return c >= '0' && c <= '9'; };
    const auto begins = [&]( char c )
    { return c != '\0' && ( isDigit( c ) || c == inPoint || c == inSign ); };
    const auto takeRun = [&]( const char* inText )
    {
        std::string run( 1, *inText++ );
        while ( isDigit( *inText ) || ( inPoint != '\0' && *inText == inPoint ) || *inText == 'e' ||
                *inText == 'E' )
            run += *inText++;
        return run;
    };
    const auto read = [&]( std::string inRun, double& outValue )
    {
        std::ranges::replace( inRun, inPoint, '.' );
        char* end = nullptr;
        outValue = std::strtod( inRun.c_str(), &end );
        return end != inRun.c_str();
    };
    for ( ;; ++first, ++second )
    {
        while ( *first == ' ' || *first == '\t' )
            ++first;
        while ( *second == ' ' || *second == '\t' )
            ++second;
        while ( begins( *first ) && begins( *second ) )
        {
            const std::string firstRun = takeRun( first );
            const std::string secondRun = takeRun( second );
            double firstValue, secondValue;
            if ( !read( firstRun, firstValue ) || !read( secondRun, secondValue ) )
                break;
            if ( firstValue != secondValue )
                return firstValue < secondValue;
            if ( firstRun != secondRun )
                return firstRun < secondRun;
            first += firstRun.size();
            second += secondRun.size();
            while ( *first == ' ' || *first == '\t' )
                ++first;
            while ( *second == ' ' || *second == '\t' )
                ++second;
        }
        if ( *first != *second || *first == '\0' )
            return static_cast<unsigned char>( *first ) < static_cast<unsigned char>( *second );
    }
}
} // namespace

TEST( XStringTest, IsMadeFromEveryKindOfText )
{
    const unsigned char lengthPrefixed[] = { 3, 'a', 'b', 'c', 'd' };
    EXPECT_EQ( XString( lengthPrefixed ), "abc" );
    EXPECT_EQ( XString( 'x' ), "x" );
    EXPECT_EQ( XString( std::string( "std" ) ), "std" );
    EXPECT_EQ( XString( L"caf\u00e9" ), "caf\xE9" );
    EXPECT_EQ( std::wstring( XString( "\xE9t\xE9" ).operator std::wstring() ), L"\u00e9t\u00e9" );
    EXPECT_EQ( XString::FromUTF8( "caf\xC3\xA9 \xE4\xB8\xAD" ), "caf\xE9 ?" );
    EXPECT_EQ( XString( "\xB5m\xB2" ).ToUTF8(), "\xC2\xB5m\xC2\xB2" );
    EXPECT_EQ( XString(), XString::kEmptyString );
    EXPECT_EQ( XString::kDotString + XString::kNewLineString, ".\n" );
    const std::string copied = XString( "converted" );
    EXPECT_EQ( copied, "converted" );
}

TEST( XStringTest, RefusesNullPointers )
{
    XString string( "kept" );
    EXPECT_CONTAINS(
        TextOfError( [] { XString( static_cast<const unsigned char*>( nullptr ) ); } ), ": str in" );
    EXPECT_CONTAINS( TextOfError( [] { XString( static_cast<const char*>( nullptr ) ); } ), ": str in" );
    EXPECT_CONTAINS(
        TextOfError( [&] { string.CopyFromPtr( static_cast<const wchar_t*>( nullptr ), 1 ); } ), ": ptr in" );
    EXPECT_CONTAINS(
        TextOfError( [&] { string.CopyFromPtr( static_cast<const char*>( nullptr ), 1 ); } ), ": ptr in" );
    EXPECT_CONTAINS(
        TextOfError( [&] { string.Strip( XString::kStripBoth, '\0' ); } ), "whichChar != '\\0'" );
    EXPECT_CONTAINS( TextOfError( [&] { string[5] = 'x'; } ), "index < itsStorage->size" );
    EXPECT_EQ( string, "kept" );
    string.CopyFromPtr( static_cast<const wchar_t*>( nullptr ), 0 );
    EXPECT_TRUE( string.IsEmpty() );
}

TEST( XStringTest, CopiesShareUntilOneIsWritten )
{
    XString original( "some text" );
    XString copy( original );
    EXPECT_EQ( copy.GetConstCharPtr(), original.GetConstCharPtr() );
    copy.Upper();
    EXPECT_EQ( copy, "SOME TEXT" );
    EXPECT_EQ( original, "some text" );

    copy = original;
    copy[USize64( 0 )] = 'S';
    static_cast<char*>( copy )[5] = 'T';
    EXPECT_EQ( copy, "Some Text" );
    EXPECT_EQ( original, "some text" );

    copy = original;
    copy.Resize( 4 );
    copy += 'X';
    EXPECT_EQ( copy, "someX" );
    XString& self = copy;
    copy = self;
    copy += self;
    copy += copy.GetConstCharPtr() + 8;
    EXPECT_EQ( copy, "someXsomeXeX" );
    EXPECT_EQ( original, "some text" );

    XString fresh;
    fresh.GetCharPtr();
    const XString moved( std::move( original ) );
    EXPECT_EQ( moved, "some text" );
    EXPECT_NE( fresh.GetConstCharPtr(), XString().GetConstCharPtr() );
}

TEST( XStringTest, ThreadsSeeOnlyTheirOwnWrites )
{
    EXPECT_NO_THROW( XString::TestStorageThreadSafety() );
}

TEST( XStringTest, TruncatesStripsAndResizes )
{
    XString string( "abcdef" );
    const char* const storage = string.GetConstCharPtr();
    string.Truncate( string.GetLength(), 0 );
    EXPECT_EQ( string.GetConstCharPtr(), storage );
    EXPECT_EQ( XString( string ).Truncate( 2, 1 ), "bc" );
    EXPECT_EQ( XString( string ).Truncate( XString::kToEnd, 4 ), "ef" );
    EXPECT_EQ( XString( string ).Truncate( 3, 99 ), "" );
    EXPECT_EQ( XString( string ).StripFirst( 2 ).StripLast( 1 ), "cde" );
    EXPECT_EQ( XString( string ).StripFirst( 99 ), "" );
    EXPECT_EQ( XString( string ).StripLast( 99 ), "" );
    EXPECT_EQ( string.SubStr( 2, 3 ), "cde" );
    EXPECT_EQ( string.SubStr( 6 ), "" );
    EXPECT_EQ( string.StripFirst( 1 ).StripLast( 1 ).GetConstCharPtr(), storage ); // in place
    EXPECT_EQ( string, "bcde" );
    string = "abcdef";

    EXPECT_EQ( XString( "  a b  " ).Strip(), "a b" );
    EXPECT_EQ( XString( "xxaxx" ).Strip( XString::kStripLeading, 'x' ), "axx" );
    EXPECT_EQ( XString( "xxaxx" ).Strip( XString::kStripTrailing, 'x' ), "xxa" );
    EXPECT_EQ( XString( "xxxx" ).Strip( XString::kStripBoth, 'x' ), "" );

    string.Resize( 8 );
    EXPECT_EQ( string.GetLength(), 8u );
    EXPECT_EQ( string.GetStringView(), std::string_view( "abcdef\0\0", 8 ) );
    XString cut( string );
    cut.Truncate( 7 );
    EXPECT_EQ( cut.GetStringView(), std::string_view( "abcdef\0", 7 ) );
}

TEST( XStringTest, RefusesLengthsThatNoMemoryHas )
{
    XString string( "abcdef" );
    const char* const text = string.GetConstCharPtr();
    for ( const USize64 length : { XString::kToEnd, XString::kToEnd - 1, XString::kToEnd / 2 } )
    {
        EXPECT_ERROR( 1012, string.Resize( length ) ) << length;
        EXPECT_ERROR( 1012, string.CopyFromPtr( text, length ) ) << length;
        EXPECT_ERROR( 1012, string.CopyFromPtr( L"abc", length ) ) << length;
        EXPECT_ERROR( 1012, XString made( std::string_view( text, length ) ) ) << length;
        EXPECT_ERROR( 1012, string += std::string_view( text, length ) ) << length;
    }
    EXPECT_EQ( string, "abcdef" );
}

TEST( XStringTest, GivesLengthPrefixedText )
{
    unsigned char buffer[256] = {};
    XString( std::string( 255, 'q' ) ).GetStr255( buffer );
    EXPECT_EQ( XString( buffer ), XString( std::string( 255, 'q' ) ) );
    EXPECT_ERROR( 1354, XString( std::string( 256, 'q' ) ).GetStr255( buffer ) );
    XString string( "<" );
    string += buffer;
    EXPECT_EQ( string.GetLength(), 256u );
}

TEST( XStringTest, LoadsTexts )
{
    XString string( "before" );
    string.LoadStringA( 1354 );
    EXPECT_EQ( string, "the string is too long" );
    EXPECT_ERROR( 1279, string.LoadStringA( 0xFFFF ) );
}

TEST( XStringTest, EditsLinesAndRuns )
{
    EXPECT_EQ( XString( "a\r\nb\rc\n\nd" ).ConvertNewlines( "|" ), "a|b|c||d" );
    EXPECT_EQ( XString( "a\n" ).ConvertNewlines( "\r\n" ), "a\r\n" );
    EXPECT_EQ( XString( "a  b    c aa" ).StripRepeatedChars( ' ' ), "a b c aa" );
    EXPECT_EQ( XString( "\xE4zAZ@[`{" ).Upper(), "\xE4ZAZ@[`{" );
    EXPECT_EQ( XString( "\xC4zAZ@[`{" ).Lower(), "\xC4zaz@[`{" );

    XString string( "aaaa" );
    EXPECT_EQ( string.Replace( "aa", "aab" ), 2u );
    EXPECT_EQ( string, "aabaab" );
    EXPECT_EQ( string.Replace( "", "x" ), 0u );
    EXPECT_EQ( string.Replace( string, string ), 1u );
    EXPECT_EQ( string.Replace( "a", "" ), 4u );
    EXPECT_EQ( string, "bb" );

    // A NUL ends the text for searches, before a match and within one.
    XString cut( std::string_view( "ab\0ab", 5 ) );
    EXPECT_EQ( cut.Find( "ab" ), 0 );
    EXPECT_EQ( cut.Find( "ab", true, 1 ), -1 );
    EXPECT_EQ( cut.Find( "B", false, 3 ), 4 );
    EXPECT_EQ( cut.Find( XString( std::string_view( "b\0a", 3 ) ) ), -1 );
    EXPECT_EQ( cut.Replace( "ab", "x" ), 1u );
    EXPECT_EQ( cut.GetStringView(), std::string_view( "x\0ab", 4 ) );
}

TEST( XStringTest, FindsAtTheLimits )
{
    const XString string( "abcabC" );
    EXPECT_EQ( string.Find( "" ), -1 );
    EXPECT_EQ( string.Find( "a", true, 6 ), -1 );
    EXPECT_EQ( string.Find( "c", true, XString::kToEnd ), -1 );
    EXPECT_EQ( string.Find( "abcabCx" ), -1 );
    EXPECT_EQ( string.Find( "ab", true, 1 ), 3 );
    EXPECT_EQ( string.Find( "C" ), 5 );
    EXPECT_EQ( string.Find( "ABC", false, 1 ), 3 );
    EXPECT_EQ( string.FindReverse( "ab" ), 3 );
    EXPECT_EQ( string.FindReverse( "ab", true, 2 ), 0 );
    EXPECT_EQ( string.FindReverse( "BC", false, 0 ), -1 );
    EXPECT_EQ( string.FindReverse( "BC", false ), 4 );
    EXPECT_EQ( string.FindReverse( "" ), -1 );
}

TEST( XStringTest, PredicatesKeepTheirRules )
{
    EXPECT_TRUE( XString( "abcd" ).EndsWith( "ab" ) );
    EXPECT_TRUE( XString( "ABC" ).EndsWith( "abc" ) );
    EXPECT_FALSE( XString( "ABCD" ).EndsWith( "abc" ) );
    EXPECT_TRUE( XString( "abcd" ).CaselessEndsWith( "CD" ) );
    EXPECT_FALSE( XString( "abcd" ).CaselessEndsWith( "ABCDE" ) );
    EXPECT_FALSE( XString( "abcdx" ).CaselessEndsWith( "CD" ) );
    EXPECT_TRUE( XString( "abcd" ).StartsWith( "ab" ) );
    EXPECT_FALSE( XString( "abcd" ).StartsWith( "Ab" ) );
    EXPECT_TRUE( XString( "abcd" ).CaselessStartsWith( "Ab" ) );
    EXPECT_TRUE( XString( "abcd" ).CaselessContains( "BC" ) );
    for ( const XString& text : { XString( "abcd" ), XString() } )
    {
        EXPECT_FALSE( text.Contains( "" ) || text.StartsWith( "" ) || text.EndsWith( "" ) );
        EXPECT_FALSE(
            text.CaselessContains( "" ) || text.CaselessStartsWith( "" ) || text.CaselessEndsWith( "" ) );
    }
    EXPECT_TRUE( XString( "\xE4" ).CaselessNotEqual( "\xC4" ) );
    EXPECT_TRUE( XString( "-1 .5e3" ).IsNumeric() );
    EXPECT_FALSE( XString( "0x1" ).IsNumeric() || XString().IsNumeric() );
}

TEST( XStringTest, SearchesLikeThePlainLoops )
{
    std::mt19937 random( 1 );
    for ( int i = 0; i < 20000; ++i )
    {
        const std::string text = RandomText( random, "abAB@`\xE1\xC1", 120 );
        const std::string needle = RandomText( random, "abAB`", i % 50 == 0 ? 100 : 3 );
        const XString string( text );
        const auto expected = needle.empty() ? std::string::npos : text.find( needle );
        const auto folded = needle.empty() ? std::string::npos : FoldCase( text ).find( FoldCase( needle ) );
        ASSERT_EQ( string.Find( needle ), static_cast<SSize64>( expected ) ) << text << " / " << needle;
        ASSERT_EQ( string.Find( needle, false ), static_cast<SSize64>( folded ) ) << text << " / " << needle;
        std::string other = random() % 2 ? FoldCase( text ) : text;
        if ( !other.empty() && random() % 2 )
            other[random() % other.size()] ^= 0x20;
        ASSERT_EQ( string.CaselessEqual( other ), FoldCase( text ) == FoldCase( other ) )
            << text << " / " << other;
    }
}

TEST( XStringTest, SearchesRepetitiveTextInReasonableTime )
{
    const std::string blocks( 1'000'000, 'a' );
    const std::string needle = blocks.substr( 0, 50'000 ) + 'b' + blocks.substr( 0, 50'000 );
    const XString text( blocks + needle );
    EXPECT_EQ( text.Find( needle ), 1'000'000 );
    EXPECT_EQ( text.Find( XString( needle ).Upper(), false ), 1'000'000 );
    EXPECT_EQ( text.Find( needle + 'c' ), -1 );
    EXPECT_EQ( XString( blocks ).Find( needle ), -1 );
}

TEST( XStringTest, HashesSignedBytes )
{
    EXPECT_EQ( XString().GetHash(), 0u );
    EXPECT_EQ( XString( "a" ).GetHash(), 97u );
    EXPECT_EQ( XString( "abcdefgh" ).GetHash(), 0x89ABAA8u );
    EXPECT_EQ( XString( "\xE9" ).GetHash(), 0xFFFFFFFF0FFFFF19u );
    EXPECT_EQ( XString( std::string_view( "a\0b", 3 ) ).GetHash(), 97u );
}

TEST( XStringTest, OrdersNumbersByValue )
{
    const auto isSorted = []( std::initializer_list<const char*> inTexts )
    {
        for ( const auto* first = inTexts.begin(); first + 1 != inTexts.end(); ++first )
            EXPECT_TRUE( XString( first[0] ) < first[1] && !( XString( first[1] ) < first[0] ) )
                << first[0] << " / " << first[1];
    };
    isSorted( { "file2", "file10", "file10b", "file\xE4" } );
    isSorted( { "-10", "-9", "-.5", "0", "00", ".5", "1", "1e3", "1e400" } );
    isSorted( { "9007199254740992", "9007199254740993", "9007199254740994" } );
    isSorted( { ".9", "/", "0", ".9" } ); // no order in the mathematical sense
    EXPECT_FALSE( XString( "a b" ) < "ab" || XString( "ab" ) < "a b" );
    EXPECT_TRUE(
        !( XString( "1.5" ) < "1.25" ) && XString( "1.5" ).IsLessThanIgnoring( "1.25", true, false ) );
    EXPECT_TRUE( XString( "a-2" ) < "a-1" && XString( "a-1" ).IsLessThanIgnoring( "a-2", false, true ) );
    EXPECT_FALSE( XString( "-e" ) < "-e" );
    EXPECT_TRUE( std::less<XString>()( "a b", "ab" ) );
}

TEST( XStringTest, ComparesWithPlainTextOnEitherSide )
{
    const XString string( "file10" );
    XString changeable( "file10" );
    char array[] = "file9";
    char* const pointer = array;
    EXPECT_TRUE( "file9" < string && !( "zzz" < string ) && string > "file9" && string <= "file10" );
    EXPECT_TRUE(
        changeable > "file9" && changeable > pointer && pointer < changeable && changeable >= array );
    EXPECT_TRUE(
        std::string( "file9" ) <= string && string >= std::string( "file9" ) && !( string > changeable ) );
    EXPECT_TRUE(
        "file10" == changeable && changeable != pointer && pointer != string && array != changeable );
    EXPECT_CONTAINS(
        TextOfError( [&] { return string < static_cast<const char*>( nullptr ); } ), ": str in" );
}

TEST( XStringTest, OrdersAsTheStepsSay )
{
    std::mt19937 random( 2 );
    XVector<XString> names;
    for ( int i = 0; i < 100000; ++i )
    {
        const char point = i % 3 == 0 ? '_' : '.';
        WLocale::SetDecimalPoint( point );
        const std::string prefix = RandomText( random, "a1-._ e", 12 );
        const std::string first = prefix + RandomText( random, "0123-._eEab \xE4", 8 );
        const std::string second = prefix + RandomText( random, "0123-._eEab \xE4", 8 );
        const XString string( first );
        ASSERT_EQ( string < second, IsNaturallyLess( first, second, point, '-' ) )
            << first << " / " << second;
        ASSERT_EQ(
            string.IsLessThanIgnoring( second, true, true ), IsNaturallyLess( first, second, '\0', '\0' ) )
            << first << " / " << second;
        if ( i < 3000 )
            names.push_back( string );
    }
    WLocale::SetDecimalPoint( '\0' );
    std::ranges::stable_sort( names, []( const XString& a, const XString& b ) { return a < b; } );
    EXPECT_EQ( names.size(), 3000u );
}

TEST( XStringTest, SplitsWordsAndPairs )
{
    const XString sentence( "  one two,three  four" );
    EXPECT_EQ( sentence.SubWord( 0 ), "one" );
    EXPECT_EQ( sentence.SubWord( 1, 2 ), "two,three  four" );
    EXPECT_EQ( sentence.SubWord( 1, 2, " ," ), "two,three" );
    EXPECT_EQ( sentence.SubWord( 2, XString::kToEnd, " ," ), "three  four" );
    EXPECT_EQ( sentence.SubWord( 9 ), "" );
    EXPECT_EQ( sentence.SubWord( 0, 0 ), "" );

    // Words of 0 to 3 characters: every length of text up to several blocks of the search, ends included.
    XString text;
    std::vector<std::string> words;
    for ( std::size_t i = 0; i < 300; ++i )
    {
        const std::string word( i * i / 3 % 4, static_cast<char>( 'a' + i % 26 ) );
        text += word + ( i % 3 ? "," : " " );
        if ( !word.empty() )
            words.push_back( word );
        ASSERT_EQ( text.SubWord( words.size() - 1, 1, ", " ), words.empty() ? "" : words.back() );
        ASSERT_EQ( text.SubWord( words.size(), 1, ", " ), "" );
    }
    for ( std::size_t i = 0; i < words.size(); ++i )
    {
        ASSERT_EQ( text.SubWord( i, 1, " ," ), words[i] );
        ASSERT_EQ(
            text.SubWord( i, 9, " ," ).SubWord( 8, 1, " ," ), i + 8 < words.size() ? words[i + 8] : "" );
    }
    EXPECT_EQ( text.SubWord( 0, 1, "" ), text );

    const auto pairs = XString( " a = 1; ab=2=3;a b=x;=lost;;flag;a=4" ).Tokenise( ";", "=" );
    const std::map<XString, XString> expected{
        { "a", "4" }, { "a b", "x" }, { "ab", "2=3" }, { "flag", "" } };
    EXPECT_TRUE( pairs == expected );

    EXPECT_EQ( XString( "1,,2;" ).TokeniseValues( ",;" ), ( XVector<XString>{ "1", "", "2", "" } ) );
    EXPECT_TRUE( XString().TokeniseValues( "," ).empty() );
}

TEST( XStringTest, MeasuresDistances )
{
    EXPECT_EQ( XString( "" ).FuzzyMatchLevenshtein( "abc" ), 3u );
    EXPECT_EQ( XString( "abc" ).FuzzyMatchLevenshtein( "" ), 3u );
    EXPECT_EQ( XString( "kitten" ).FuzzyMatchLevenshtein( "sitting" ), 3u );
    EXPECT_EQ( XString( "abcd" ).FuzzyMatchLevenshtein( "acbd" ), 1u );
    EXPECT_EQ( XString( "ABC" ).FuzzyMatchLevenshtein( "abc" ), 3u );
    EXPECT_EQ( XString( "ABC" ).FuzzyMatchLevenshtein( "abc", true ), 0u );
    EXPECT_EQ( XString( "mean" ).FindClosestLevenshteinMatch( {} ), -1 );
    EXPECT_EQ( XString( "mean" ).FindClosestLevenshteinMatch( { "max", "men", "moan" } ), 1 );
    EXPECT_EQ( XString( "mean" ).FindClosestLevenshteinMatch( { "men", "MEAN", "mean" }, true ), 1 );
}

TEST( XStringTest, StreamsItself )
{
    XMemStream stream;
    stream.SetByteOrder( kIntelOrder );
    const XVector<XString> strings{ "ab", "", std::string( 3000000, 'z' ) };
    for ( const XString& string : strings )
        string.WriteStream2( stream );
    const std::string_view bytes( reinterpret_cast<const char*>( stream.GetData() ), stream.GetLength() );
    EXPECT_EQ( bytes.substr( 0, 18 ), std::string_view( "\x23\0\0\0\2\0\0\0ab\x23\0\0\0\0\0\0\0", 18 ) );
    stream.SeekTo( 0 );
    for ( const XString& string : strings )
        EXPECT_EQ( XString( stream ), string );
    EXPECT_EQ( XString( "abc" ).GetStreamUsage(), 7u );
    EXPECT_EQ( XGetValueVectorStreamUsage( strings ), 4u + 6u + 4u + 3000004u );
}

TEST( XStringTest, RefusesForeignNewerAndCutStreams )
{
    const auto errorOfReading = []( std::uint32_t inVersion, std::uint32_t inLength )
    {
        XMemStream stream;
        stream.Write32( inVersion );
        stream.Write32( inLength );
        stream.WriteText( "abc" );
        stream.SeekTo( 0 );
        return ErrorOf( [&] { XString string( stream ); } );
    };
    EXPECT_EQ( errorOfReading( 44, 3 ), 1005u );
    EXPECT_EQ( errorOfReading( 0x10023, 3 ), 1015u );
    EXPECT_EQ( errorOfReading( 35, 4 ), 1260u );
    EXPECT_EQ( errorOfReading( 35, 0xFFFFFFFF ), 1260u );
}
