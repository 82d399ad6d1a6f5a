// Streams over a file in memory that stand between it and its user.
#include "tests/support/failing_url.h"

#include <algorithm>

namespace torvi::test
{

/// What both directions have in common.
template <class Interface>
class FailingStream : public Interface
{
public:
	FailingStream(Ref<FailingFile> file, Ref<Interface> inner) : _file(std::move(file)), _inner(std::move(inner))
	{
		++_file->_openCount;
		++_file->_livingCount;
	}
	~FailingStream() override { End(); }

	Result<Int> GetStreamLength() const override { return SeekSupported() ? _inner->GetStreamLength() : Interface::GetStreamLength(); }
	Int GetPosition() const override { return _inner->GetPosition(); }
	Bool SeekSupported() const override { return _file->_plan._canSeek; }
	Result<void> Seek(Int position) override { return SeekSupported() ? _inner->Seek(position) : Interface::Seek(position); }
	Result<void> Close() override
	{
		const Bool isFirst = End();
		TORVI_TRY(_inner->Close());
		TORVI_CHECK(!isFirst || !_file->_plan._failsClose, IoError("The close failed."));
		return OK;
	}

protected:
	const FailurePlan& GetPlan() const { return _file->_plan; }
	/// Bytes from here to a place of the plan, at most `count`.
	Int CountUpTo(Int place, Int count) const { return std::clamp<Int>(place - GetPosition(), 0, count); }

	Ref<FailingFile> _file;
	Ref<Interface> _inner;

private:
	Bool End()
	{
		if (std::exchange(_isClosed, true))
			return false;
		--_file->_livingCount;
		return true;
	}

	Bool _isClosed = false;
};

namespace
{

class FailingInputStream final : public FailingStream<InputStreamInterface>
{
public:
	using FailingStream::FailingStream;

	Result<Int> ReadEOS(Block<Byte> block) override
	{
		const Int wanted = CountUpTo(GetPlan()._endAt, CountOf(block));
		const Int good = CountUpTo(GetPlan()._readErrorAt, wanted);
		const Int read = TORVI_TRY(_inner->ReadEOS(block.first(static_cast<std::size_t>(good))));
		TORVI_CHECK(good == wanted || read < good, IoError("The read failed."));
		return read;
	}
};

class FailingOutputStream final : public FailingStream<OutputStreamInterface>
{
public:
	using FailingStream::FailingStream;

	Result<void> Write(Block<const Byte> block) override
	{
		const Int count = CountOf(block);
		TORVI_CHECK(CountUpTo(GetPlan()._writeErrorAt, count) == count, IoError("The write failed."));
		const Int fitting = CountUpTo(GetPlan()._diskSize, count);
		TORVI_TRY(_inner->Write(block.first(static_cast<std::size_t>(fitting))));
		TORVI_CHECK(fitting == count, IoError("The disk is full."));
		return OK;
	}
	Result<void> Flush() override { return _inner->Flush(); }
};

} // namespace

FailingFile::FailingFile(Array<Byte> bytes, const FailurePlan& plan)
	: _plan(plan), _memory(TORVI_MUST(NewObject<IoMemory>(std::move(bytes))))
{
}

Result<Url> FailingFile::GetUrl(std::string_view name)
{
	return Url::Make("failing", name, UrlProviderRef(this));
}

Result<InputStreamRef> FailingFile::OpenInputStream(std::string_view path)
{
	TORVI_CHECK(!_plan._failsOpen, IoError("The open failed."));
	return NewObject<FailingInputStream>(Ref<FailingFile>(this), TORVI_TRY(_memory->OpenInputStream(path)));
}

Result<OutputStreamRef> FailingFile::OpenOutputStream(std::string_view path)
{
	TORVI_CHECK(!_plan._failsOpen, IoError("The open failed."));
	return NewObject<FailingOutputStream>(Ref<FailingFile>(this), TORVI_TRY(_memory->OpenOutputStream(path)));
}

Url MakeFailingUrl(Block<const Byte> bytes, const FailurePlan& plan)
{
	return TORVI_MUST(TORVI_MUST(NewObject<FailingFile>(Array<Byte>(bytes.begin(), bytes.end()), plan))->GetUrl());
}

} // namespace torvi::test
