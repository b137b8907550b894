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

/// What is wrong with the arguments of the program, on one line, with the nearest command or option for one that is not
/// known, and where to read on.
class CommandLineError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// An option or argument that is being declared, each function of which says one thing more about it.
class CommandOption
{
public:
    explicit CommandOption( CLI::Option& ioOption ) : itsOption( &ioOption ) {}

    /// What stands for its value in the help: "FILE".
    CommandOption Takes( const std::string& inKind ) const;
    CommandOption Required() const;
    /// The help shows the value that the variable had when it was declared.
    CommandOption ShowsDefault() const;
    /// May be given again; its variable is a vector, which gets all values.
    CommandOption MayRepeat() const;
    /// The check returns what is wrong with a value, empty if nothing.
    CommandOption Check( std::string ( *inCheck )( const std::string& ) ) const;
    CommandOption IsOneOf( std::initializer_list<std::string> inValues ) const;
    CommandOption IsBetween( std::uint32_t inLeast, std::uint32_t inMost ) const;
    CommandOption IsBetween( double inLeast, double inMost ) const;
    /// The other one has been declared before, in the same command.
    CommandOption Needs( const std::string& inOther ) const;
    CommandOption Excludes( const std::string& inOther ) const;

private:
    CLI::Option* itsOption;
};

/// The options of a command, or those of the program. Variables given to it must live until the arguments are parsed,
/// and keep their values where an option is not given.
class CommandOptions
{
public:
    explicit CommandOptions( CLI::App& ioCommand ) : itsCommand( &ioCommand ) {}

    /// `inNames` is "--output", "-o,--output", or a name without dashes for an argument.
    CommandOption Add( const std::string& inNames, std::string& outValue, const std::string& inHelp ) const;
    CommandOption
    Add( const std::string& inNames, std::vector<std::string>& outValues, const std::string& inHelp ) const;
    CommandOption Add( const std::string& inNames, std::uint32_t& outValue, const std::string& inHelp ) const;
    CommandOption Add( const std::string& inNames, std::uint64_t& outValue, const std::string& inHelp ) const;
    CommandOption Add( const std::string& inNames, double& outValue, const std::string& inHelp ) const;
    CommandOption AddFlag( const std::string& inNames, bool& outIsGiven, const std::string& inHelp ) const;

    /// What the help says after the list of options.
    void Explain( const std::string& inText ) const;
    /// To be called when all values are there.
    void WhenParsed( std::function<void()> inAction ) const;

private:
    CLI::App* itsCommand;
};

/// The arguments of the program: its own options, which may stand behind the command too, and the commands with theirs.
class CommandLine
{
public:
    CommandLine( const std::string& inProgram, const std::string& inVersion, const std::string& inSummary );
    ~CommandLine();
    CommandLine( const CommandLine& ) = delete;
    CommandLine& operator=( const CommandLine& ) = delete;

    CommandOptions GetOptions();
    CommandOptions AddCommand( const std::string& inName, const std::string& inSummary );

    /// False where the help or the version was asked for, which are then printed. Throws CommandLineError, and what the
    /// actions of options throw.
    bool Parse( const std::vector<std::string>& inArguments, std::ostream& ioOut );

    /// The name of the command that was given, empty before.
    std::string GetCommandName() const;

private:
    std::unique_ptr<CLI::App> itsProgram;
};
