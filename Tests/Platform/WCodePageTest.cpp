#include "System/WCodePage.h"

#include "Testing.h"

namespace
{

/// Every byte of the code page from 1 up.
std::string MakeAllBytes()
{
    std::string bytes;
    for ( int byte = 1; byte < 256; ++byte )
        bytes += static_cast<char>( byte );
    return bytes;
}

} // namespace

TEST( WCodePageTest, EveryByteComesBack )
{
    const auto bytes = MakeAllBytes();
    EXPECT_EQ( WCodePage::WideToAnsi( WCodePage::AnsiToWide( bytes ) ), bytes );
    EXPECT_EQ( WCodePage::UTF8ToAnsi( WCodePage::AnsiToUTF8( bytes ) ), bytes );
    EXPECT_EQ( WCodePage::AnsiToWide( bytes ).size(), bytes.size() );
}

TEST( WCodePageTest, Windows1252IsTheSameOnEverySystem )
{
    const auto bytes = MakeAllBytes();
    EXPECT_EQ( WCodePage::UTF8ToWindows1252( WCodePage::Windows1252ToUTF8( bytes ) ), bytes );
    EXPECT_EQ( WCodePage::Windows1252ToUTF8( "\x80 \xB5m\xB2" ), "\xE2\x82\xAC \xC2\xB5m\xC2\xB2" );
    EXPECT_EQ( WCodePage::Windows1252ToWide( "\x81\x93" ), L"\x0081\x201C" );
    // No similar characters, and one '?' for each character, whatever it takes in wide text.
    EXPECT_EQ( WCodePage::UTF8ToWindows1252( "\xCE\xA9 \xF0\x9F\x98\x80 \xC5\x9E" ), "? ? ?" );
}

TEST( WCodePageTest, KnowsWhereTheCharactersLie )
{
    // The euro sign, an unassigned byte, a quotation mark, e with an acute accent.
    EXPECT_EQ( WCodePage::AnsiToWide( "\x80\x81\x93\xE9" ), L"\x20AC\x0081\x201C\x00E9" );
    EXPECT_EQ( WCodePage::AnsiToUTF8( "\x80 \xB5m" ), "\xE2\x82\xAC \xC2\xB5m" );
    EXPECT_EQ( WCodePage::UTF8ToAnsi( "\xC2\xB5m" ), "\xB5m" );
}

TEST( WCodePageTest, WhatHasNoPlaceBecomesAQuestionMark )
{
    EXPECT_EQ( WCodePage::WideToAnsi( L"a\x4E2Dz" ), "a?z" );
    EXPECT_EQ( WCodePage::UTF8ToAnsi( "a\xE4\xB8\xADz" ), "a?z" );
}

TEST( WCodePageTest, EscapesLoseNothing )
{
    const std::pair<std::string, std::string> cases[] = {
        { "plain \\u{41}", "plain \\u{41}" },
        { "\xC3\xA9\xE2\x82\xAC", "\xE9\x80" },
        { "\xCE\xA9.tif", "\\u{3A9}.tif" },
        { "\xEF\xBF\xBD\xF0\x9F\x98\x80", "\\u{FFFD}\\u{1F600}" },
        { "e\xCC\x81", "e\\u{301}" },
        { "a\xFFz\xE2\x82", "a\\u{DCFF}z\\u{DCE2}\\u{DC82}" },
        { "\xC0\xAF\xED\xA0\x80", "\\u{DCC0}\\u{DCAF}\\u{DCED}\\u{DCA0}\\u{DC80}" },
    };
    for ( const auto& [text, escaped] : cases )
        EXPECT_EQ( WCodePage::UTF8ToWindows1252Escaped( text ), escaped );
    const auto bytes = MakeAllBytes();
    EXPECT_EQ( WCodePage::UTF8ToWindows1252Escaped( WCodePage::Windows1252ToUTF8( bytes ) ), bytes );
}

TEST( WCodePageTest, KeepsNulsAndNothing )
{
    EXPECT_EQ( WCodePage::AnsiToWide( "" ), L"" );
    EXPECT_EQ( WCodePage::WideToAnsi( L"" ), "" );
    const std::string withNul( "a\0b", 3 );
    EXPECT_EQ( WCodePage::UTF8ToAnsi( WCodePage::AnsiToUTF8( withNul ) ), withNul );
}

TEST( WCodePageTest, UTF8KeepsAllPlanes )
{
    const std::string text =
        "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
    EXPECT_EQ( WCodePage::WideToUTF8( WCodePage::UTF8ToWide( text ) ), text );
}

TEST( WCodePageTest, MalformedUTF8IsReplacedAndTheRestKept )
{
    const char* malformed[] = {
        "\x80",     "\xFF",         "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80",
        "\xE2\x82", "\xF0\x9F\x98",
    };
    for ( const std::string text : malformed )
    {
        const auto wide = WCodePage::UTF8ToWide( "a" + text + "z" );
        EXPECT_EQ( wide.front(), L'a' );
        EXPECT_EQ( wide.back(), L'z' );
        EXPECT_NE( wide.find( static_cast<wchar_t>( 0xFFFD ) ), std::wstring::npos );
        EXPECT_LE( wide.size(), text.size() + 2 );
    }
}
