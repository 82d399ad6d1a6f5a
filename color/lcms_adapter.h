// The one door to Little CMS for profiles: its start, its open profiles as owned handles, and their bytes and texts as host values.
#pragma once

#include "host/stream.h"

#include <csetjmp>
#include <lcms2.h>
#include <memory>

namespace torvi
{

struct IccProfileCloser
{
	void operator()(void* handle) const noexcept { cmsCloseProfile(handle); }
};

/// An open ICC profile. Reading its tags is safe on any thread: lcms2 locks each profile.
using IccProfile = std::unique_ptr<void, IccProfileCloser>;

/// Routes lcms2's memory and locks to ours and silences its log. Must come before any other call of lcms2; what it sets stays for the
/// life of the process, so later calls do nothing. UnknownError "Could not initialize LCMS.".
Result<void> StartLcms();

struct IccTransformDeleter
{
	void operator()(void* handle) const noexcept { cmsDeleteTransform(handle); }
};

/// A link of two profiles. It needs neither of them any more, and any number of threads may run it.
using IccTransform = std::unique_ptr<void, IccTransformDeleter>;

/// Looks after lcms2 where memory runs out. Not every function of lcms2 reports that: some go on and leave a part out, which others then
/// miss, and some lose blocks. So what was made under a watch that has failed must be dropped before the watch ends; it then frees what is
/// left behind. It sees the calls of its own thread. Refusals do not count as failures: of absurd sizes, which damaged profiles ask for,
/// and of more blocks than a watch holds. Honest links of profiles need some hundreds; chains of thousands of steps would keep a
/// processor busy for minutes.
class LcmsMemoryWatch
{
public:
	LcmsMemoryWatch() noexcept;
	LcmsMemoryWatch(const LcmsMemoryWatch&) = delete;
	LcmsMemoryWatch& operator=(const LcmsMemoryWatch&) = delete;
	~LcmsMemoryWatch();

	Bool HasFailed() const noexcept { return _hasFailed; }

	/// Runs `function` of lcms2, which stops at the first allocation that gets no memory, as it would go on without a look. Gives whether
	/// it came to its end. What it then has made is lost when the watch ends. No object with a destructor may live in it.
	template <class Function>
	Bool RunUntilFailure(const Function& function) noexcept
	{
		if (setjmp(_escape) != 0) // NOLINT(cert-err52-cpp): the only way out of lcms2
			return false;
		_canEscape = true;
		function();
		_canEscape = false;
		return true;
	}

	/// The new block, or null where none was got or it is refused and freed.
	void* OnAllocate(void* memory) noexcept;
	/// A size that is refused.
	void OnRefuse() noexcept;
	void OnMove(void* from, void* to) noexcept;
	void OnFree(void* memory) noexcept;
	void OnLock(void* mutex) noexcept;
	void OnUnlock() noexcept;

private:
	[[noreturn]] void Escape() noexcept;

	LcmsMemoryWatch* _outer;
	Bool _hasFailed = false;
	Bool _canEscape = false;
	Bool _hasEscaped = false;
	std::size_t _lockCount = 0;
	void* _locks[8]; ///< held by this thread, for it to give back when it escapes
	std::jmp_buf _escape;
	std::size_t _blockCount = 0;
	void* _blocks[4096]; ///< allocated since then and not yet freed
};

/// Empty for bytes that are no profile, and when memory runs out. The bytes are copied.
IccProfile OpenIccProfile(Block<const Byte> bytes) noexcept;

/// The profile as the bytes of an ICC file. `maximumSize` guards against profiles whose tags overlap, which grow when they are written.
/// UnknownError "Calculating color profile size failed." and "Writing color profile failed.".
Result<Array<Byte>> WriteIccProfile(const IccProfile& profile, Int maximumSize);

/// Reads a profile from the start of a stream, which must be able to seek, and writes it anew. The stream's own error,
/// MediaSessionWrongTypeError for a stream that holds no profile, or an error of WriteIccProfile.
Result<Array<Byte>> ReadIccStream(const InputStreamRef& stream);

/// One end of a transform: the bytes of an ICC file, and lcms2's word for the pixels.
struct IccTransformEnd
{
	Block<const Byte> _profile;
	cmsUInt32Number _format;
};

/// A transform of lcms2's intent and flags. The profiles are opened for it alone: what lcms2 reads of them while memory runs out is lost
/// with them. IllegalStateError "cmsCreateTransform failed" for profiles that do not fit their formats, or that are none.
Result<IccTransform> CreateIccTransform(const IccTransformEnd& source, const IccTransformEnd& destination, cmsUInt32Number intent,
										cmsUInt32Number flags);

/// At most 1,023 characters; empty where the profile does not have the text.
String ReadIccText(const IccProfile& profile, cmsInfoType type);

} // namespace torvi
