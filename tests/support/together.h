// Work on several threads that begin at the same moment.
#pragma once

#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace torvi::test
{

/// Calls `work`(0) on this thread and `work`(1) to `work`(count - 1) on threads of their own, and waits for all of them. Nobody begins
/// before all threads are there, so that the work may wait for the others; if one cannot be started, nobody works.
template <class Work>
void RunTogether(std::size_t count, const Work& work)
{
	enum Signal : int
	{
		WAIT,
		BEGIN,
		LEAVE
	};
	std::atomic<int> signal{WAIT};
	const auto give = [&](Signal value)
	{
		signal = value;
		signal.notify_all();
	};
	std::vector<std::jthread> threads;
	try
	{
		for (std::size_t i = 1; i < count; ++i)
			threads.emplace_back(
				[&, i]()
				{
					signal.wait(WAIT);
					if (signal == BEGIN)
						work(i);
				});
	}
	catch (const std::system_error&)
	{
		give(LEAVE);
		throw;
	}
	give(BEGIN);
	work(std::size_t(0));
}

} // namespace torvi::test
