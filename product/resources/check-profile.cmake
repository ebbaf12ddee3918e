# Refuses a profile whose last block of 1024 bytes is a full one: the reader fails on it. Takes "profile".
file(SIZE ${profile} profile_size)
math(EXPR profile_rest "${profile_size} % 1024")
if(profile_rest EQUAL 0)
  message(FATAL_ERROR "${profile} has ${profile_size} bytes, a multiple of 1024; add or take away a blank.")
endif()
