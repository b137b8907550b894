#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

/// The command line is invalid. The text is one line that names the problem, the nearest command or option
/// for an unknown one, and the help to read.
class CommandLineError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// An option or argument being declared; each function adds a property to it.
class CommandOption
{
public:
    explicit CommandOption( CLI::Option& ioOption ) : itsOption( &ioOption ) {}

    /// The placeholder of its value in the help: "FILE".
    CommandOption Takes( const std::string& inKind ) const;
    CommandOption Required() const;
    /// The help shows the value of the variable at the time of the declaration.
    CommandOption ShowsDefault() const;
    /// May be repeated; its variable is a vector that gets all values.
    CommandOption MayRepeat() const;
    /// `inCheck` returns the error in a value, empty if there is none.
    CommandOption Check( std::string ( *inCheck )( const std::string& ) ) const;
    CommandOption IsOneOf( std::initializer_list<std::string> inValues ) const;
    CommandOption IsBetween( std::uint32_t inLeast, std::uint32_t inMost ) const;
    CommandOption IsBetween( double inLeast, double inMost ) const;
    /// The other option must have been declared before, in the same command.
    CommandOption Needs( const std::string& inOther ) const;
    CommandOption Excludes( const std::string& inOther ) const;

private:
    CLI::Option* itsOption;
};

/// The options of a command or of the program. Variables must live until the arguments have been parsed, and
/// keep their values if an option is not given.
class CommandOptions
{
public:
    explicit CommandOptions( CLI::App& ioCommand ) : itsCommand( &ioCommand ) {}

    /// The same options; the help lists those that are added through the result under `inHeading`.
    CommandOptions Under( const std::string& inHeading ) const;

    /// `inNames` is "--output", "-o,--output", or a name without dashes for an argument.
    CommandOption Add( const std::string& inNames, std::string& outValue, const std::string& inHelp ) const;
    CommandOption
    Add( const std::string& inNames, std::vector<std::string>& outValues, const std::string& inHelp ) const;
    CommandOption Add( const std::string& inNames, std::uint32_t& outValue, const std::string& inHelp ) const;
    CommandOption Add( const std::string& inNames, std::uint64_t& outValue, const std::string& inHelp ) const;
    CommandOption Add( const std::string& inNames, double& outValue, const std::string& inHelp ) const;
    CommandOption AddFlag( const std::string& inNames, bool& outIsGiven, const std::string& inHelp ) const;

    /// Sets the text of the help after the list of options.
    void Explain( const std::string& inText ) const;
    /// Sets a function to be called when all values have been parsed.
    void WhenParsed( std::function<void()> inAction ) const;

private:
    CLI::App* itsCommand;
    std::string itsHeading; // empty: that of CLI11

    CommandOption Place( CLI::Option& ioOption ) const;
};

/// The arguments of the program: its own options, which may also follow the command, and the commands with
/// their options.
class CommandLine
{
public:
    CommandLine( const std::string& inProgram, const std::string& inVersion, const std::string& inSummary );
    ~CommandLine();
    CommandLine( const CommandLine& ) = delete;
    CommandLine& operator=( const CommandLine& ) = delete;

    CommandOptions GetOptions();
    CommandOptions AddCommand( const std::string& inName, const std::string& inSummary );

    /// Returns false if the help or the version was requested, which is then printed. Throws CommandLineError
    /// and the exceptions of WhenParsed functions.
    bool Parse( const std::vector<std::string>& inArguments, std::ostream& ioOut );

    /// The name of the given command; empty before Parse.
    std::string GetCommandName() const;

private:
    std::unique_ptr<CLI::App> itsProgram;
};
