#pragma once

#include <type_traits>
#include <utility>

namespace Foundation {

template <class Signature>
class FunctionRef;

/// A view of something callable, a function or an object, for the length of one call; it must not be kept.
template <class Result, class... Arguments>
class FunctionRef<Result(Arguments...)> {
public:
    template <class F>
    requires(!std::is_same_v<std::remove_cvref_t<F>, FunctionRef>)
        FunctionRef(F&& callable) {  // NOLINT(bugprone-forwarding-reference-overload): constrained above
        using Callable = std::remove_reference_t<F>;
        // A function's address fits into no pointer to an object.
        if constexpr (std::is_function_v<Callable>) {
            target_.function = reinterpret_cast<void (*)()>(&callable);
            call_ = [](Target target, Arguments... arguments) -> Result {
                return reinterpret_cast<Callable*>(target.function)(std::forward<Arguments>(arguments)...);
            };
        } else {
            target_.object = const_cast<void*>(static_cast<const void*>(&callable));
            call_ = [](Target target, Arguments... arguments) -> Result {
                return (*static_cast<Callable*>(target.object))(std::forward<Arguments>(arguments)...);
            };
        }
    }

    Result operator()(Arguments... arguments) const { return call_(target_, std::forward<Arguments>(arguments)...); }

private:
    union Target {
        void* object;
        void (*function)();
    };

    Target target_;
    Result (*call_)(Target, Arguments...);
};

}  // namespace Foundation
