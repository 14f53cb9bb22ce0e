#pragma once
// Marks what libquill.so.1 exports.
#define QUILL_API __attribute__((visibility("default")))
