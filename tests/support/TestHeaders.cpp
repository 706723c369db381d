// Nothing of its own: the precompiled headers of all test programs are made for this file. See tests/CMakeLists.txt.
