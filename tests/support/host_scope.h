// A host for a test: services behind g_torvi, with what the given registrations enter, until the end of the scope.
#pragma once

#include "host/module.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace torvi
{

class HostScope
{
public:
	using Registration = Result<void> (*)(Module& module);

	/// Runs the registrations in order. A failure fails the test; IsStarted tells.
	explicit HostScope(std::initializer_list<Registration> registrations = {})
	{
		Result<void> result = _host.Init();
		g_torvi = &_host;
		for (const Registration registration : registrations)
		{
			if (result.IsOk())
				result = registration(_module);
		}
		_isStarted = result.IsOk();
		if (!_isStarted)
			ADD_FAILURE() << "The host did not start: " << result.GetError().ToString();
	}
	~HostScope()
	{
		_module.RunEnd();
		g_torvi = nullptr;
		_host.Clear();
	}
	HostScope(const HostScope&) = delete;
	HostScope& operator=(const HostScope&) = delete;

	Bool IsStarted() const noexcept { return _isStarted; }
	HostServices& GetHost() noexcept { return _host; }
	Module& GetModule() noexcept { return _module; }

private:
	HostServices _host;
	Module _module{_host};
	Bool _isStarted = false;
};

} // namespace torvi
