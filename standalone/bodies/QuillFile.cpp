#include "host/QuillFile.h"

#include "host/FindFile.h"

IQuillFileReadOnly::~IQuillFileReadOnly() = default;
IQuillFileAppendOnly::~IQuillFileAppendOnly() = default;
IFileIterator::~IFileIterator() = default;
