# SPDX-License-Identifier: Apache-2.0

# kelvane_add_decoder_module(TARGET): puts libheif.dylib, the decoder that HeicConverter loads, beside the executable of an
# application. It is a file of its own because its libraries have other licences than Kelvane; leave it out, and photos are
# not converted.
function(kelvane_add_decoder_module target)
  add_dependencies(${target} Kelvane::decoder)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_if_different
      $<TARGET_FILE:Kelvane::decoder> $<TARGET_FILE_DIR:${target}>/$<TARGET_FILE_NAME:Kelvane::decoder>
    VERBATIM)
endfunction()
