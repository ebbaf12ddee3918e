#pragma once

// What the compiler must not see through.
template <typename Value>
Value Hidden(Value value)
{
    volatile Value hidden = value;
    return hidden;
}
