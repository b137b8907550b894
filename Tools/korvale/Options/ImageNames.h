#pragma once

#include "Imaging/XImageFinder.h"
#include "Imaging/XPathGroups.h"

#include <optional>
#include <string>
#include <vector>

class CommandOptions;
class Session;

/// The images of a command line: files, folders, patterns and lists, and how they are grouped by their paths.
class ImageNames
{
public:
    /// The section of the help text that explains the arguments.
    static const char* const kHelp;

    /// Declares the argument, with that text for the help, and its options. The images are known when the command line
    /// has been parsed; WrongUsage is thrown where none is found.
    void Declare( const CommandOptions& inOptions, const char* inPurpose );

    /// The names of the images, as UTF-8.
    const std::vector<std::string>& Get() const { return itsNames; }

    /// Reports the files in folders that are not images, and folders that cannot be read. Returns false if there are such
    /// folders.
    bool Report( Session& ioSession ) const;

    bool HasGroups() const { return itsGroups.has_value(); }

    /// The names and texts of the groups of an image; without a text if its path does not match.
    std::vector<std::pair<std::string, std::optional<std::string>>>
    GetGroups( const std::string& inName ) const;

    /// Reports how many images do not match the expression for groups. Throws WrongUsage if none does, or if a group has
    /// one of these names or that of another group, ignoring case.
    void CheckGroups( const std::vector<std::string>& inColumns, Session& ioSession ) const;

private:
    std::vector<std::string> itsNames;
    bool itsIsRecursive = false;
    std::string itsExpression; // empty: no groups
    std::optional<XPathGroups> itsGroups;
    std::optional<XImageFinder> itsFinder;

    void Find();
    void AddList();
    void Add( const std::string& inName );
};
