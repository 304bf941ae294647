// The observer belongs to the thread, so that it reaches the work on a tree through the platform's calls, which have no
// place for it. A scope puts the former one back.
#include "platform/darwin/trees/TreeObserver.h"

#include <utility>

namespace quill::darwin {
namespace {

thread_local TreeObserver* currentObserver = nullptr;

}  // namespace

bool TreeObserver::Advanced(const TreeProgress&) { return true; }
void TreeObserver::MetadataNotKept(const char*, TreeMetadata, int) {}
void TreeObserver::Failed(const char*, int) {}

TreeObserver* TreeObserver::Current() noexcept { return currentObserver; }

TreeObserverScope::TreeObserverScope(TreeObserver* observer) noexcept
    : before_(std::exchange(currentObserver, observer)) {}
TreeObserverScope::~TreeObserverScope() { currentObserver = before_; }

}  // namespace quill::darwin
