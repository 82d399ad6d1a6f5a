// Start and end of the module: calls each folder's registration in order. The order is that of need: data types, then what pixels are, then
// what their numbers mean, then pictures, then the ways in and out, then services.
#include "torvi/module.h"

#include "color/registration.h"
#include "host/module.h"
#include "host/registration.h"
#include "image/registration.h"
#include "media_io/registration.h"
#include "mediasession/registration.h"
#include "module/descriptions.h"
#include "pixelblend/registration.h"
#include "pixelformat/registration.h"
#include "platform/registration.h"

#include <memory>

namespace torvi
{

namespace
{

constexpr RegistrationStep FOLDERS[] = {
	{"host", &RegisterHost},
	{"descriptions", &RegisterDescriptions},
	{"pixel formats", &RegisterPixelFormats},
	{"colour profiles", &RegisterColor},
	{"blend modes", &RegisterPixelBlend},
	{"images", &RegisterImages},
	{"media session", &RegisterMediaSession},
	{"media formats", &RegisterMediaFormats},
	{"platform services", &RegisterPlatform},
};

/// What lives from start to end.
struct RunningModule
{
	HostServices _host;
	Module _module{_host};
};

std::unique_ptr<RunningModule> s_running;

Result<void> Start()
{
	TORVI_CHECK(!s_running, IllegalStateError("The module is started already."));
	s_running = std::make_unique<RunningModule>();
	TORVI_TRY(s_running->_host.Init());
	g_torvi = &s_running->_host;
	return RunRegistration(s_running->_module, FOLDERS);
}

} // namespace

Result<void> StartModule() noexcept
{
	const Bool wasRunning = s_running != nullptr;
	Result<void> result = NoThrow(&Start);
	if (!result.IsOk() && !wasRunning)
		EndModule();
	return result;
}

void EndModule() noexcept
{
	if (!s_running)
		return;
	s_running->_module.RunEnd();
	g_torvi = nullptr; // what ends now finds no services
	s_running->_host.Clear();
	s_running = nullptr;
}

} // namespace torvi
