// A target has at least one file. This one's precompiled headers are what it is for.
