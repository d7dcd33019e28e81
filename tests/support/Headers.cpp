// Empty: the headers that the tests share are precompiled with it.
