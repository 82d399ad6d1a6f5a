// The shared records behind errors. The out-of-memory record is made without memory and is never freed.
#include "host/error.h"

#include "host/memory.h"

#include <new>

namespace torvi
{

struct Error::Record
{
	std::atomic<Int32> _references{1};
	Bool _isImmortal = false;
	Id _id;
	String _message;
	Error _cause;
	SourceLocation _location;
};

namespace
{

const Error NO_ERROR;

} // namespace

Error& Error::operator=(Error&& other) noexcept
{
	if (this != &other)
	{
		Release();
		_record = other._record;
		other._record = nullptr;
	}
	return *this;
}

Error Error::Make(const Id& id, std::string_view message, SourceLocation location) noexcept
{
	void* memory = Alloc(sizeof(Record));
	if (memory == nullptr)
		return MakeOutOfMemory();
	Error error(new (memory) Record);
	error._record->_id = id;
	error._record->_location = location;
	try
	{
		error._record->_message.assign(message);
	}
	catch (const std::bad_alloc&)
	{
		return MakeOutOfMemory();
	}
	return error;
}

Error Error::MakeOutOfMemory() noexcept
{
	static Record* const RECORD = []
	{
		alignas(Record) static Byte memory[sizeof(Record)];
		auto* record = new (memory) Record;
		record->_isImmortal = true;
		record->_id = errorids::OUTOFMEMORY;
		record->_message = "Out of memory.";
		return record;
	}();
	return Error(RECORD);
}

Error Error::Share() const noexcept
{
	if (_record != nullptr && !_record->_isImmortal)
		_record->_references.fetch_add(1, std::memory_order_relaxed);
	return Error(_record);
}

void Error::Release() noexcept
{
	if (_record == nullptr || _record->_isImmortal || _record->_references.fetch_sub(1, std::memory_order_acq_rel) != 1)
		return;
	_record->~Record();
	Free(_record);
}

Id Error::GetId() const noexcept
{
	return _record != nullptr ? _record->_id : Id();
}

std::string_view Error::GetMessage() const noexcept
{
	return _record != nullptr ? std::string_view(_record->_message) : std::string_view();
}

SourceLocation Error::GetLocation() const noexcept
{
	return _record != nullptr ? _record->_location : SourceLocation();
}

const Error& Error::GetCause() const noexcept
{
	return _record != nullptr ? _record->_cause : NO_ERROR;
}

const Error& Error::GetInnermostCause() const noexcept
{
	const Error* innermost = this;
	while (innermost->GetCause())
		innermost = &innermost->GetCause();
	return *innermost;
}

Error& Error::SetMessage(std::string_view message) noexcept
{
	if (_record == nullptr || _record->_isImmortal)
		return *this;
	try
	{
		_record->_message.assign(message);
	}
	catch (const std::bad_alloc&)
	{
		*this = MakeOutOfMemory();
	}
	return *this;
}

Error& Error::SetLocation(SourceLocation location) noexcept
{
	if (_record != nullptr && !_record->_isImmortal)
		_record->_location = location;
	return *this;
}

Error& Error::SetCause(Error cause) noexcept
{
	if (_record != nullptr && !_record->_isImmortal)
		_record->_cause = std::move(cause);
	return *this;
}

String Error::ToString(std::string_view) const
{
	String text;
	for (const Error* error = this; *error; error = &error->GetCause())
		text += Format("@@: @ (@:@)", text.empty() ? "" : " <- ", error->GetId(), error->GetMessage(), error->GetLocation().file_name(),
					   error->GetLocation().line());
	return text;
}

} // namespace torvi
