#pragma once

#include "Core/Times/XTimer.h"
#include "NetJobs/XNetJobStatus.h"
#include "Threads/XMutex.h"

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// The state of a control service in the forms in which it is sent to the viewers of its status page. The state is copied
/// at most twice a second, when somebody asks for it, and each form is written once for each copy: viewers share the texts,
/// so that their number costs the service nothing.
///
/// Memory: texts that slow viewers still receive are kept until they have them. If these are more than `kMostBytes`, no
/// further ones are written.
///
/// Threads: any.
class StatusFeed
{
public:
    enum Form
    {
        kPage,    // the whole page
        kEvent,   // a server-sent event with the sections of the page
        kJSON,    // as WriteStatusJSON
        kMetrics, // as WriteStatusMetrics
        kFormCount
    };
    using Text = std::shared_ptr<const std::string>;

    static constexpr std::size_t kMostBytes = 64 * 1024 * 1024;

    explicit StatusFeed( std::function<XNetJobStatus()> inGetStatus );
    StatusFeed( const StatusFeed& ) = delete;
    StatusFeed& operator=( const StatusFeed& ) = delete;

    /// The newest text of this form; the same object as long as the text does not change. Null if there are too many bytes.
    Text Get( Form inForm );

private:
    struct Written
    {
        Text text;              // null: none yet
        bool isCurrent = false; // was written for itsStatus
    };

    void Refresh();
    Text Keep( std::string inText );

    const std::function<XNetJobStatus()> itsGetStatus;

    XMutex itsMutex; // guards the following
    XNetJobStatus itsStatus;
    XTimer itsTimer;
    bool itsHasStatus = false;
    std::array<Written, kFormCount> itsWritten;
    std::vector<std::weak_ptr<const std::string>> itsTexts; // those that still exist, among others
};
