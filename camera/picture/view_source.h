#pragma once

#include "camera/picture/view.h"

namespace camera
{

/** Knows where the camera looks. To be used on the camera's thread only. */
class ViewSource
{
  public:
    virtual ~ViewSource() = default;

    /** Where it looks right now. */
    [[nodiscard]] virtual View view() const = 0;
};

} // namespace camera
