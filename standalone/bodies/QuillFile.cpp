#include "host/QuillFile.h"

#include "host/FindFile.h"

// Out of line, so that each interface has its table in one object file, and not in all that include the header.
IQuillFileReadOnly::~IQuillFileReadOnly() = default;
IQuillFileAppendOnly::~IQuillFileAppendOnly() = default;
IFileIterator::~IFileIterator() = default;
