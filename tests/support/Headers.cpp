// SPDX-License-Identifier: MIT

// Empty: the headers that the tests share are precompiled with it.
