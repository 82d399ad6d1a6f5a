// Start and end of the module. A process starts it once, before anything else here is used, and ends it when all references are dropped.
#pragma once

#include "host/result.h"

namespace torvi
{

/// Registers everything; under 20 ms. IllegalStateError if the module is started already. Not safe against other calls at the same time.
TORVI_EXPORT Result<void> StartModule() noexcept;

/// Drops everything that is registered. Nothing happens if the module is not started.
TORVI_EXPORT void EndModule() noexcept;

/// Starts the module for a scope.
class ModuleScope
{
public:
	ModuleScope() : _result(StartModule()) {}
	~ModuleScope()
	{
		if (_result.IsOk())
			EndModule();
	}
	ModuleScope(const ModuleScope&) = delete;
	ModuleScope& operator=(const ModuleScope&) = delete;

	/// Whether the start went well.
	const Result<void>& GetResult() const noexcept { return _result; }

private:
	Result<void> _result;
};

} // namespace torvi
