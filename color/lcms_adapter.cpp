// Little CMS behind host types.
#include "color/lcms_adapter.h"

#include "torvi/mediasession_errors.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <lcms2_plugin.h>
#include <mutex>

namespace torvi
{

namespace
{

// What lcms2's own allocator allows as well: sizes in damaged profiles are not checked everywhere before they are asked for.
constexpr UInt64 MAXIMUM_ALLOCATION = 512 * 1024 * 1024;

thread_local LcmsMemoryWatch* t_watch = nullptr;

/// Enters a new block, or the failure to get one, with the watch of this thread.
void* Watched(void* memory) noexcept
{
	return t_watch != nullptr ? t_watch->OnAllocate(memory) : memory;
}

void* Refused() noexcept
{
	if (t_watch != nullptr)
		t_watch->OnRefuse();
	return nullptr;
}

/// Cleared, since lcms2 leaves the end of a text unset when it joins two units of UTF-16 to one character.
void* Allocate(cmsContext, cmsUInt32Number size) noexcept
{
	return size <= MAXIMUM_ALLOCATION ? Watched(AllocClear(size)) : Refused();
}

void Release(cmsContext, void* memory) noexcept
{
	if (t_watch != nullptr)
		t_watch->OnFree(memory);
	Free(memory);
}

void* Reallocate(cmsContext context, void* memory, cmsUInt32Number size) noexcept
{
	if (memory == nullptr)
		return Allocate(context, size);
	if (size > MAXIMUM_ALLOCATION)
		return Refused();
	void* const moved = Realloc(memory, size);
	if (moved == nullptr)
		return Watched(nullptr);
	if (t_watch != nullptr)
		t_watch->OnMove(memory, moved);
	return moved;
}

void* AllocateArray(cmsContext, cmsUInt32Number count, cmsUInt32Number size) noexcept
{
	const UInt64 total = UInt64(count) * size;
	return total <= MAXIMUM_ALLOCATION ? Watched(AllocClear(static_cast<Int>(total))) : Refused();
}

/// The caller sees the failing result of the call that logged; the text is of use under a debugger only.
void DropLogMessage(cmsContext, cmsUInt32Number code, const char* text) noexcept
{
	static_cast<void>(UnknownError("LCMS Error: @, @", code, text));
}

// lcms2 locks each profile while it reads a tag. Its own mutex is allocated without a look at the result, so we hand it one of a fixed set;
// which profile has which does not matter. Recursive, in case a thread should ever hold two profiles that share one.
std::recursive_mutex s_profileLocks[32];
std::atomic<UInt32> s_nextProfileLock{0};

void* CreateMutex(cmsContext) noexcept
{
	return &s_profileLocks[s_nextProfileLock.fetch_add(1, std::memory_order_relaxed) % std::size(s_profileLocks)];
}

void DestroyMutex(cmsContext, void*) noexcept {}

cmsBool LockMutex(cmsContext, void* mutex) noexcept
{
	static_cast<std::recursive_mutex*>(mutex)->lock();
	if (t_watch != nullptr)
		t_watch->OnLock(mutex);
	return TRUE;
}

void UnlockMutex(cmsContext, void* mutex) noexcept
{
	if (t_watch != nullptr)
		t_watch->OnUnlock();
	static_cast<std::recursive_mutex*>(mutex)->unlock();
}

Bool InstallPlugins() noexcept
{
	cmsPluginMutex mutexes = {
		{cmsPluginMagicNumber, 2000, cmsPluginMutexSig, nullptr}, &CreateMutex, &DestroyMutex, &LockMutex, &UnlockMutex};
	cmsPluginMemHandler memory = {{cmsPluginMagicNumber, 2000, cmsPluginMemHandlerSig, &mutexes.base},
								  &Allocate,
								  &Release,
								  &Reallocate,
								  &Allocate,
								  &AllocateArray,
								  nullptr};
	cmsSetLogErrorHandler(&DropLogMessage);
	return cmsPlugin(&memory) != FALSE;
}

/// Lets lcms2 read a host stream. It does not outlive the function that makes it.
class StreamHandler final : public cmsIOHANDLER
{
public:
	StreamHandler(InputStreamRef input, Int length) : cmsIOHANDLER(), _input(std::move(input))
	{
		stream = this;
		ReportedSize = static_cast<cmsUInt32Number>(std::min<Int>(length, UINT32_MAX));
		Read = &OnRead;
		Seek = &OnSeek;
		Close = [](cmsIOHANDLER*) -> cmsBool { return TRUE; };
		Tell = [](cmsIOHANDLER* handler) { return static_cast<cmsUInt32Number>(Of(handler)._input->GetPosition()); };
		Write = [](cmsIOHANDLER*, cmsUInt32Number, const void*) -> cmsBool { return FALSE; };
	}

	/// The first failure of the stream; no error without one.
	Error TakeError() noexcept { return std::move(_error); }

private:
	static StreamHandler& Of(cmsIOHANDLER* handler) noexcept { return *static_cast<StreamHandler*>(handler->stream); }

	static cmsUInt32Number OnRead(cmsIOHANDLER* handler, void* buffer, cmsUInt32Number size, cmsUInt32Number count) noexcept
	{
		const std::size_t byteCount = std::size_t(size) * count;
		if (Of(handler).Keep(Of(handler)._input->ReadBlock({static_cast<Byte*>(buffer), byteCount})))
			return count;
		cmsSignalError(handler->ContextID, cmsERROR_READ, "Read error. couldn't read %d bytes", static_cast<int>(byteCount));
		std::memset(buffer, 0, byteCount); // a short count would make lcms2 leak while it copies a tag; the kept error is what counts
		return count;
	}
	static cmsBool OnSeek(cmsIOHANDLER* handler, cmsUInt32Number offset) noexcept
	{
		return Of(handler).Keep(Of(handler)._input->Seek(offset)) ? TRUE : FALSE;
	}

	Bool Keep(Result<void> result) noexcept
	{
		if (!result.IsOk() && !_error)
			_error = result.TakeError();
		return result.IsOk();
	}

	InputStreamRef _input;
	Error _error;
};

/// Adds one unit of lcms2's wide text as UTF-16. Its units are characters, or the UTF-16 units of a profile as they stand there.
void AppendUtf16(Array<Byte>& bytes, UInt32 unit)
{
	if (unit > 0xFFFF)
	{
		AppendUtf16(bytes, 0xD7C0 + (unit >> 10));
		unit = 0xDC00 + (unit & 0x3FF);
	}
	bytes.push_back(static_cast<Byte>(unit & 0xFF));
	bytes.push_back(static_cast<Byte>(unit >> 8));
}

} // namespace

Result<void> StartLcms()
{
	static const Bool IS_STARTED = InstallPlugins();
	TORVI_CHECK(IS_STARTED, UnknownError("Could not initialize LCMS."));
	return OK;
}

LcmsMemoryWatch::LcmsMemoryWatch() noexcept : _outer(std::exchange(t_watch, this)) {}

LcmsMemoryWatch::~LcmsMemoryWatch()
{
	t_watch = _outer;
	if (!_hasFailed && !_hasEscaped)
		return;
	for (void* const block : Block<void*>(_blocks, _blockCount))
		Release(nullptr, block);
}

void* LcmsMemoryWatch::OnAllocate(void* memory) noexcept
{
	if (memory != nullptr && _blockCount < std::size(_blocks))
		return _blocks[_blockCount++] = memory;
	for (LcmsMemoryWatch* watch = this; memory == nullptr && watch != nullptr; watch = watch->_outer)
		watch->_hasFailed = true;
	Free(memory);
	OnRefuse();
	return nullptr;
}

void LcmsMemoryWatch::OnRefuse() noexcept
{
	if (_canEscape)
		Escape();
}

void LcmsMemoryWatch::Escape() noexcept
{
	_canEscape = false;
	_hasEscaped = true;
	while (_lockCount > 0)
		static_cast<std::recursive_mutex*>(_locks[--_lockCount])->unlock();
	std::longjmp(_escape, 1); // NOLINT(cert-err52-cpp)
}

/// Locks are held one inside of the other.
void LcmsMemoryWatch::OnLock(void* mutex) noexcept
{
	if (_lockCount < std::size(_locks))
		_locks[_lockCount++] = mutex;
}

void LcmsMemoryWatch::OnUnlock() noexcept
{
	if (_lockCount > 0)
		--_lockCount;
}

void LcmsMemoryWatch::OnMove(void* from, void* to) noexcept
{
	for (LcmsMemoryWatch* watch = this; watch != nullptr; watch = watch->_outer)
		std::replace(watch->_blocks, watch->_blocks + watch->_blockCount, from, to);
}

void LcmsMemoryWatch::OnFree(void* memory) noexcept
{
	for (LcmsMemoryWatch* watch = this; watch != nullptr; watch = watch->_outer)
	{
		void** const end = watch->_blocks + watch->_blockCount;
		watch->_blockCount -= static_cast<std::size_t>(end - std::remove(watch->_blocks, end, memory));
	}
}

IccProfile OpenIccProfile(Block<const Byte> bytes) noexcept
{
	if (bytes.empty() || bytes.size() > UINT32_MAX)
		return {};
	return IccProfile(cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())));
}

Result<Array<Byte>> WriteIccProfile(const IccProfile& profile, Int maximumSize)
{
	cmsUInt32Number size = 0;
	TORVI_CHECK(cmsSaveProfileToMem(profile.get(), nullptr, &size) && size <= maximumSize,
				UnknownError("Calculating color profile size failed."));
	Array<Byte> bytes(size);
	TORVI_CHECK(cmsSaveProfileToMem(profile.get(), bytes.data(), &size), UnknownError("Writing color profile failed."));
	return bytes;
}

Result<Array<Byte>> ReadIccStream(const InputStreamRef& stream)
{
	const Int length = TORVI_TRY(stream->GetStreamLength());
	const LcmsMemoryWatch watch;
	StreamHandler handler(stream, length);
	const IccProfile profile(cmsOpenProfileFromIOhandlerTHR(nullptr, &handler));
	Result<Array<Byte>> bytes = MediaSessionWrongTypeError("The stream holds no color profile.");
	if (profile)
		bytes = WriteIccProfile(profile, 2 * std::min<Int>(length, UINT32_MAX) + 65536);
	if (Error error = handler.TakeError())
		return error;
	TORVI_CHECK(!watch.HasFailed(), OutOfMemoryError());
	return bytes;
}

Result<IccTransform> CreateIccTransform(const IccTransformEnd& source, const IccTransformEnd& destination, cmsUInt32Number intent,
										cmsUInt32Number flags)
{
	LcmsMemoryWatch watch;
	void* handle = nullptr;
	const auto link = [&]()
	{
		const cmsHPROFILE from = OpenIccProfile(source._profile).release();
		const cmsHPROFILE to = OpenIccProfile(destination._profile).release();
		if (from != nullptr && to != nullptr)
			handle = cmsCreateTransform(from, source._format, to, destination._format, intent, flags);
		if (from != nullptr)
			cmsCloseProfile(from);
		if (to != nullptr)
			cmsCloseProfile(to);
	};
	const Bool isComplete = watch.RunUntilFailure(link);
	TORVI_CHECK(!watch.HasFailed(), OutOfMemoryError());
	TORVI_CHECK(isComplete && handle != nullptr, IllegalStateError("cmsCreateTransform failed"));
	return IccTransform(handle);
}

String ReadIccText(const IccProfile& profile, cmsInfoType type)
{
	constexpr std::size_t CHARACTERS = 1024;
	wchar_t text[CHARACTERS] = {};
	if (!profile || cmsGetProfileInfo(profile.get(), type, cmsNoLanguage, cmsNoCountry, text, sizeof(text)) == 0)
		return String();
	Array<Byte> utf16;
	for (std::size_t i = 0; i < CHARACTERS && text[i] != 0; ++i)
		AppendUtf16(utf16, static_cast<UInt32>(text[i]));
	return FromUtf16Bytes(utf16);
}

} // namespace torvi
