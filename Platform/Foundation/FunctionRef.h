#pragma once

#include <type_traits>
#include <utility>

namespace Foundation {

template <class Signature>
class FunctionRef;

/// A view of something callable, for the length of one call; it must not be kept.
template <class Result, class... Arguments>
class FunctionRef<Result(Arguments...)> {
public:
    template <class F>
    requires(!std::is_same_v<std::remove_cvref_t<F>, FunctionRef>)
        FunctionRef(F&& callable)  // NOLINT(bugprone-forwarding-reference-overload): constrained above
        : target_(const_cast<void*>(static_cast<const void*>(&callable))),
          call_([](void* target, Arguments... arguments) {
              return (*static_cast<std::remove_reference_t<F>*>(target))(std::forward<Arguments>(arguments)...);
          }) {}

    Result operator()(Arguments... arguments) const { return call_(target_, std::forward<Arguments>(arguments)...); }

private:
    void* target_;
    Result (*call_)(void*, Arguments...);
};

}  // namespace Foundation
