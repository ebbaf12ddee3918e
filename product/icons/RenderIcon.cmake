# qx_render_icon(NAME)
# Renders NAME.svg and NAME.small.svg of this folder into NAME.ico in the caller's build folder.
set(QX_ICON_FOLDER ${CMAKE_CURRENT_LIST_DIR})
find_program(QX_RSVG_CONVERT rsvg-convert REQUIRED)
find_program(QX_ICOTOOL icotool REQUIRED)

function(qx_render_icon name)
  set(full ${QX_ICON_FOLDER}/${name}.svg)
  set(small ${QX_ICON_FOLDER}/${name}.small.svg)
  set(icon ${CMAKE_CURRENT_BINARY_DIR}/${name}.ico)
  add_custom_command(OUTPUT ${icon}
    COMMAND ${QX_ICON_FOLDER}/render.sh ${full} ${small} ${icon}
    DEPENDS ${full} ${small} ${QX_ICON_FOLDER}/render.sh
    COMMENT "Rendering ${name}.ico" VERBATIM)
endfunction()
