#pragma once

/// Marks what libQxzCUtil03 offers to other libraries and to applications.
#define QXCUTIL_API __attribute__((visibility("default")))
