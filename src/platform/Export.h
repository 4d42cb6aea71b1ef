#pragma once

/// Marks what libqxplatform offers to other libraries and to applications.
#define QXPLATFORM_API __attribute__((visibility("default")))
