// A file in memory whose streams fail on command, so that every reader and writer can be seen to take it well.
#pragma once

#include "host/iomemory.h"

namespace torvi::test
{

/// What goes wrong; the default is nothing. All failures are io errors whose message names the failure: "The read failed.",
/// "The write failed.", "The disk is full.", "The close failed.", "The open failed.".
struct FailurePlan
{
	Int _endAt = INT64_MAX;       ///< the file ends here for reads, whatever GetStreamLength says
	Int _readErrorAt = INT64_MAX; ///< a read that touches this byte fails; what lies before can be read
	Int _writeErrorAt = INT64_MAX;
	Int _diskSize = INT64_MAX; ///< what is written up to here stays, the rest fails
	Bool _canSeek = true;      ///< without it the length is not known either
	Bool _failsOpen = false;
	Bool _failsClose = false;
};

/// Opens streams that follow the plan. Counts them, so that a test sees whether all were closed or dropped.
class FailingFile final : public UrlProviderInterface
{
public:
	FailingFile(Array<Byte> bytes, const FailurePlan& plan);

	/// "failing:name"; it keeps this object alive.
	Result<Url> GetUrl(std::string_view name = "file");
	Block<const Byte> GetBytes() const noexcept { return _memory->GetBytes(); }
	Int GetOpenCount() const noexcept { return _openCount; }     ///< streams that were opened in all
	Int GetLivingCount() const noexcept { return _livingCount; } ///< streams that are neither closed nor dropped

	FailurePlan _plan;

	Result<InputStreamRef> OpenInputStream(std::string_view path) override;
	Result<OutputStreamRef> OpenOutputStream(std::string_view path) override;

private:
	template <class Interface>
	friend class FailingStream;

	Ref<IoMemory> _memory;
	Int _openCount = 0;
	Int _livingCount = 0;
};

/// The Url of a new failing file; aborts without memory.
Url MakeFailingUrl(Block<const Byte> bytes, const FailurePlan& plan);

} // namespace torvi::test
