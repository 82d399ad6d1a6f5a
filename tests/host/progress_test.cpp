// Observables and progress.
#include "expect_out_of_memory.h"

#include "host/job.h"
#include "host/progress.h"

#include <cmath>
#include <limits>
#include <thread>

namespace torvi::test
{
namespace
{

TEST(Observable, CallsAllInOrderAndGivesTheFirstError)
{
	const ObservableRef<int> observable = TORVI_MUST(NewObject<Observable<int>>());
	String calls;
	TORVI_MUST(observable->AddObserver(
		[&](int value) -> Result<void>
		{
			calls += Format("a@", value);
			return OK;
		}));
	TORVI_MUST(observable->AddObserver(
		[&](int) -> Result<void>
		{
			calls += "b";
			return IoError("First.");
		}));
	const Int id = TORVI_MUST(observable->AddObserver([&](int) -> Result<void> { throw std::bad_alloc(); }));
	TORVI_MUST(observable->AddObserver(
		[&](int) -> Result<void>
		{
			calls += "d";
			return IoError("Second.");
		}));
	EXPECT_EQ(observable->Notify(7).GetError().GetMessage(), "First.");
	EXPECT_EQ(calls, "a7bd");
	observable->RemoveObserver(id);
	observable->RemoveObserver(id);
	EXPECT_EQ(ErrorIdOf(observable->AddObserver(nullptr)), errorids::ILLEGALARGUMENT.GetText());
}

TEST(Observable, MayChangeWhileItNotifies)
{
	const ObservableRef<> observable = TORVI_MUST(NewObject<Observable<>>());
	int calls = 0;
	Int id = 0;
	id = TORVI_MUST(observable->AddObserver(
		[&]() -> Result<void>
		{
			++calls;
			observable->RemoveObserver(id);
			TORVI_TRY(observable->AddObserver(
				[&]() -> Result<void>
				{
					calls += 10;
					return OK;
				}));
			return OK;
		}));
	TORVI_MUST(observable->Notify());
	EXPECT_EQ(calls, 1);
	TORVI_MUST(observable->Notify());
	EXPECT_EQ(calls, 11);
}

TEST(Observable, ClosureOfARemovedObserverMayComeBack)
{
	struct Leaver : ObjectInterface
	{
		explicit Leaver(Observable<>* observable) : _observable(observable) {}
		~Leaver() override { _observable->RemoveObserver(99); }
		Observable<>* _observable;
	};
	const ObservableRef<> observable = TORVI_MUST(NewObject<Observable<>>());
	const Int id = TORVI_MUST(
		observable->AddObserver([leaver = TORVI_MUST(NewObject<Leaver>(observable.GetPointer()))]() -> Result<void> { return OK; }));
	observable->RemoveObserver(id);
	EXPECT_FALSE(observable->HasObservers());
}

Ref<ProgressImpl> MakeProgress()
{
	return TORVI_MUST(NewObject<ProgressImpl>());
}

TEST(Progress, WeighsAndClamps)
{
	const Ref<ProgressImpl> progress = MakeProgress();
	EXPECT_EQ(progress->GetProgress(), 0.0);
	const Int empty = TORVI_MUST(progress->AddProgressJob(0.0, "empty"));
	TORVI_MUST(progress->SetProgressAndCheckBreak(empty, 0.5));
	EXPECT_EQ(progress->GetProgress(), 0.5); // no job has a weight
	const Int small = TORVI_MUST(progress->AddProgressJob(1.0, "small"));
	const Int large = TORVI_MUST(progress->AddProgressJob(3.0, "large"));
	TORVI_MUST(progress->SetProgressAndCheckBreak(large, 0.5));
	EXPECT_EQ(progress->GetProgress(), 0.375);
	EXPECT_EQ(progress->ToString(), "large");

	const struct
	{
		Float64 fraction, whole;
	} clamped[] = {{7.0, 0.25}, {-1.0, 0.0}, {std::nan(""), 0.0}, {HUGE_VAL, 0.25}};
	TORVI_MUST(progress->SetProgressAndCheckBreak(large, 0.0));
	for (const auto& [fraction, whole] : clamped)
	{
		TORVI_MUST(progress->SetProgressAndCheckBreak(small, fraction));
		EXPECT_EQ(progress->GetProgress(), whole) << fraction;
	}
}

TEST(Progress, SumOfHugeWeightsStaysANumber)
{
	const Ref<ProgressImpl> progress = MakeProgress();
	const Float64 huge = std::numeric_limits<Float64>::max();
	const Int first = TORVI_MUST(progress->AddProgressJob(huge, ""));
	TORVI_MUST(progress->AddProgressJob(huge, ""));
	TORVI_MUST(progress->SetProgressAndCheckBreak(first, 1.0));
	EXPECT_EQ(progress->GetProgress(), 0.5);
}

TEST(Progress, RefusesBadArguments)
{
	const Ref<ProgressImpl> progress = MakeProgress();
	const std::string_view illegal = errorids::ILLEGALARGUMENT.GetText();
	for (const Float64 weight : {-1.0, std::nan(""), HUGE_VAL})
		EXPECT_EQ(ErrorIdOf(progress->AddProgressJob(weight, "")), illegal) << weight;
	EXPECT_EQ(ErrorIdOf(progress->SetProgressAndCheckBreak(0, 0.0)), illegal);
	EXPECT_EQ(ErrorIdOf(progress->SetProgressAndCheckBreak(-1, 0.0)), illegal);
	EXPECT_EQ(ErrorIdOf(progress->InitProgress(-1.0, 0.0)), illegal);
	EXPECT_EQ(ErrorIdOf(progress->InitProgress(0.0, std::nan(""))), illegal);
}

TEST(Progress, NotifiesWhenItIsTime)
{
	const Ref<ProgressImpl> progress = MakeProgress();
	const Int job = TORVI_MUST(progress->AddProgressJob(1.0, "job"));
	int calls = 0;
	TORVI_MUST(TORVI_MUST(progress->ObservableProgressNotification())
				   ->AddObserver(
					   [&](const ProgressRef& which) -> Result<void>
					   {
						   calls += which == progress ? 1 : 100;
						   return OK;
					   }));
	const auto set = [&]() { TORVI_MUST(progress->SetProgressAndCheckBreak(job, 0.5)); };
	TORVI_MUST(progress->InitProgress(3600.0, 0.0));
	set();
	EXPECT_EQ(calls, 0); // before the delay
	TORVI_MUST(progress->InitProgress(0.0, 3600.0));
	set();
	set();
	EXPECT_EQ(calls, 1); // the interval
	TORVI_MUST(progress->InitProgress(0.0, 0.0));
	set();
	set();
	EXPECT_EQ(calls, 3);
}

TEST(Progress, CancelFromAnotherThreadEndsTheWork)
{
	const Ref<ProgressImpl> progress = MakeProgress();
	const Int job = TORVI_MUST(progress->AddProgressJob(1.0, "job"));
	std::thread canceller([&]() { progress->Cancel(); });
	Result<void> result = OK;
	while (result.IsOk())
		result = progress->SetProgressAndCheckBreak(job, 0.5);
	canceller.join();
	EXPECT_EQ(ErrorIdOf(result), errorids::OPERATIONCANCELLED.GetText());
}

TEST(Progress, ErrorOfAnObserverStopsTheWork)
{
	const Ref<ProgressImpl> progress = MakeProgress();
	const Int job = TORVI_MUST(progress->AddProgressJob(1.0, "job"));
	TORVI_MUST(TORVI_MUST(progress->ObservableProgressNotification())
				   ->AddObserver([](const ProgressRef&) -> Result<void> { return IoError("The window is gone."); }));
	EXPECT_EQ(progress->SetProgressAndCheckBreak(job, 0.1).GetError().GetMessage(), "The window is gone.");
	EXPECT_EQ(ErrorIdOf(progress->SetProgressAndCheckBreak(job, 0.2)), errorids::OPERATIONCANCELLED.GetText());
}

TEST(Progress, AnswersTheCancelOfTheJobGroup)
{
	const Ref<ProgressImpl> progress = MakeProgress();
	const Int job = TORVI_MUST(progress->AddProgressJob(1.0, "job"));
	JobGroup group;
	Bool hadPassed = false;
	TORVI_MUST(group.Add(
		[&]() -> Result<void>
		{
			hadPassed = progress->SetProgressAndCheckBreak(job, 0.1).IsOk();
			group.Cancel();
			return progress->SetProgressAndCheckBreak(job, 0.2);
		}));
	EXPECT_EQ(ErrorIdOf(group.EnqueueGroupAndWait(TORVI_MUST(JobQueue::GetComputeQueue()))), errorids::OPERATIONCANCELLED.GetText());
	EXPECT_TRUE(hadPassed);
	TORVI_MUST(progress->SetProgressAndCheckBreak(job, 0.3)); // outside of the group
	JobQueue::End();
}

TEST(Progress, FailedAllocations)
{
	ExpectOutOfMemoryAtEachAllocation(
		[]() -> Result<void>
		{
			const Ref<ProgressImpl> progress = TORVI_TRY(NewObject<ProgressImpl>());
			const Int job = TORVI_TRY(progress->AddProgressJob(1.0, "a name that is too long to be kept inline"));
			TORVI_TRY(
				TORVI_TRY(progress->ObservableProgressNotification())->AddObserver([](const ProgressRef&) -> Result<void> { return OK; }));
			return progress->SetProgressAndCheckBreak(job, 1.0);
		});
}

} // namespace
} // namespace torvi::test
