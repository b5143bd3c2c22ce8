# SPDX-License-Identifier: Apache-2.0
# The modules are files of their own because their libraries have other licences than Kelvane. A program that leaves them
# out runs without what they do. An installed shared library finds those installed with it; a static one, and one that was
# built as part of another project, looks beside the program:
#   kelvane_add_decoder_module(TARGET)  puts libheif.dylib there, which decodes HEIC photos
#   kelvane_add_media_module(TARGET)    puts libkelvane-media.so there, which reads films and the rarer picture formats
function(kelvane_add_decoder_module target)
  _kelvane_copy_module(${target} decoder)
endfunction()

function(kelvane_add_media_module target)
  _kelvane_copy_module(${target} media)
endfunction()

function(_kelvane_copy_module target module)
  if(NOT TARGET Kelvane::${module})
    message(FATAL_ERROR "the ${module} module of Kelvane is not there: it was not built or is not installed")
  endif()
  add_dependencies(${target} Kelvane::${module})
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_if_different
      $<TARGET_FILE:Kelvane::${module}> $<TARGET_FILE_DIR:${target}>/$<TARGET_FILE_NAME:Kelvane::${module}>
    VERBATIM)
endfunction()
