// Signals and the progress line.
#include "tools/watch.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <unistd.h>

namespace torvi::tool
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr auto QUIET_TIME = std::chrono::milliseconds(500);

volatile std::sig_atomic_t s_isInterrupted = 0;
std::atomic<std::size_t> s_fileCount{1};
std::atomic<std::size_t> s_filesDone{0};
std::mutex s_lineLock;
Bool s_isLineDrawn = false;
Clock::time_point s_start;

void Interrupt(int)
{
	s_isInterrupted = 1;
}

/// Without SA_RESTART: a read that waits for somebody to type must end.
void SetHandler(int signal, void (*handler)(int))
{
	struct sigaction action = {};
	action.sa_handler = handler;
	sigaction(signal, &action, nullptr);
}

} // namespace

void CatchSignals()
{
	s_start = Clock::now();
	for (const int signal : {SIGINT, SIGTERM, SIGHUP})
		SetHandler(signal, &Interrupt);
	for (const int signal : {SIGPIPE, SIGXFSZ})
		SetHandler(signal, SIG_IGN);
}

Bool IsInterrupted() noexcept
{
	return s_isInterrupted != 0;
}

Result<void> CheckInterrupt()
{
	TORVI_CHECK(!IsInterrupted(), OperationCancelledError("Interrupted."));
	return OK;
}

Result<void> WatchProgress(const ProgressRef& progress)
{
	TORVI_TRY(CheckInterrupt());
	ShowProgress(progress->GetProgress());
	return OK;
}

void ShowProgress(Float64 fraction)
{
	static const Bool s_isTerminal = isatty(STDERR_FILENO) == 1;
	if (!s_isTerminal || Clock::now() - s_start < QUIET_TIME)
		return;
	const Float64 all = (static_cast<Float64>(s_filesDone) + fraction) / static_cast<Float64>(s_fileCount);
	const std::lock_guard guard(s_lineLock);
	std::fprintf(stderr, "\r%3d %%", static_cast<int>(std::min(all, 1.0) * 100.0));
	s_isLineDrawn = true;
}

void SetFileCount(std::size_t count)
{
	s_fileCount = count;
}

void CountFile()
{
	++s_filesDone;
}

void ClearProgressLine()
{
	const std::lock_guard guard(s_lineLock);
	if (std::exchange(s_isLineDrawn, false))
		std::fprintf(stderr, "\r     \r");
}

} // namespace torvi::tool
