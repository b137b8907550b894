#include "MeasurePageJob.h"

#include "Jobs/XProgress.h"
#include "Threads/XStopThreadException.h"
#include "WCodePage.h"

MeasurePageJob::MeasurePageJob(
    PageReaders& ioReaders, std::uint32_t inPage, const std::string& inName,
    const MeasureSettings& inSettings, ProgressDisplay& ioDisplay, PageResult& outResult )
    : itsReaders( ioReaders ), itsPage( inPage ), itsName( inName ), itsSettings( inSettings ),
      itsStrategy( ioDisplay, false ), itsResult( outResult )
{
    SetProgressStrategy( &itsStrategy );
}

void MeasurePageJob::RunJobSelf()
{
    try
    {
        itsResult.measurement = Measure();
    }
    catch ( const XStopThreadException& )
    {
        throw;
    }
    catch ( ... )
    {
        itsResult.failure = DescribeCurrentException();
        throw;
    }
}

void MeasurePageJob::JobCompleteSelf( std::uint32_t )
{
    itsResult.isDone = true;
}

PageMeasurement MeasurePageJob::Measure()
{
    XProgress progress( 2, XProgress::kProgressSteps, kProgressDelayMs );
    progress.SetMessage( "page " + std::to_string( itsPage ) + " of " + WCodePage::UTF8ToAnsi( itsName ) );
    const auto page = ReadPage();
    progress.Increment();
    return MeasurePage( page, itsSettings );
}

WImagePage MeasurePageJob::ReadPage()
{
    constexpr double kMost = 1000;
    XProgress progress( static_cast<std::uint64_t>( kMost ), XProgress::kProgressTransfer );
    return itsReaders.ReadPage(
        itsPage,
        [&]( double inShare )
        {
            progress.SetProgress( inShare * kMost );
            progress.YieldAndCheckAbort();
        } );
}
