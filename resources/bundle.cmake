# The bundle's configuration, written by the build: Contents/Info.plist, and beside it the
# privileged helper's policy, which lists the resource scripts it may run by their SHA-256.
# A layer that ships a script calls rf_add_resource_script(NAME) before rf_write_bundle_files().

set(RF_BUNDLE_IDENTIFIER "com.Veltmark.RefloomCustomizer")
set(RF_PRODUCT_IDENTIFIER "com.Veltmark.Refloom2025")
set(RF_PRODUCT_BUNDLE "Refloom 2025.app")

# Copies resources/NAME into the bundle's resources and lists its hash in the helper's policy.
function(rf_add_resource_script name)
  set(source "${PROJECT_SOURCE_DIR}/resources/${name}")
  configure_file("${source}" "${RF_BUNDLE_DIR}/Contents/Resources/${name}" COPYONLY)
  file(SHA256 "${source}" hash)
  set_property(GLOBAL APPEND PROPERTY RF_RESOURCE_SCRIPTS "script ${hash} ${name}")
endfunction()

function(rf_write_bundle_files)
  get_property(scripts GLOBAL PROPERTY RF_RESOURCE_SCRIPTS)
  list(JOIN scripts "\n" RF_POLICY_SCRIPTS)
  configure_file("${PROJECT_SOURCE_DIR}/resources/Info.plist.in" "${RF_BUNDLE_DIR}/Contents/Info.plist" @ONLY)
  configure_file("${PROJECT_SOURCE_DIR}/resources/helper-policy.in" "${RF_BUNDLE_DIR}/Contents/helper-policy" @ONLY)
  # The helper refuses a policy others may change.
  file(CHMOD "${RF_BUNDLE_DIR}/Contents/helper-policy" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

# The rules file in the resources, and the components it names, small but real, laid out
# where their mode handlers look: beside the bundle (the add-ins, the Services helper, the
# content bundle, the extras) and inside it (the Spotlight importer).
function(rf_lay_out_components)
  foreach(resource Customizer.rules.txt Customizer.ui rfPanel.ui "Update Readme.txt" "License Agreement.txt"
                   ContextMap.strings ContextLinksMap.strings)
    configure_file("${PROJECT_SOURCE_DIR}/resources/${resource}" "${RF_BUNDLE_DIR}/Contents/Resources/${resource}" COPYONLY)
  endforeach()
  add_custom_target(rf_components_payload ALL
    COMMAND ${CMAKE_COMMAND} -E copy_directory "${PROJECT_SOURCE_DIR}/resources/components/beside" "${CMAKE_BINARY_DIR}"
    COMMAND ${CMAKE_COMMAND} -E copy_directory "${PROJECT_SOURCE_DIR}/resources/components/inside" "${RF_BUNDLE_DIR}/Contents"
    COMMENT "Laying out the components beside and inside the bundle")

  # "Refloom.zip": one top folder "Refloom" holding both add-in bundles, zipped by the build.
  set(margina "${PROJECT_SOURCE_DIR}/resources/components/beside/Margina")
  file(GLOB_RECURSE addin_files CONFIGURE_DEPENDS "${margina}/*")
  set(stage "${CMAKE_BINARY_DIR}/refloom-zip")
  set(archive "${RF_BUNDLE_DIR}/Contents/Resources/Refloom.zip")
  add_custom_command(OUTPUT "${archive}"
    COMMAND ${CMAKE_COMMAND} -E rm -rf "${stage}"
    COMMAND ${CMAKE_COMMAND} -E copy_directory "${margina}" "${stage}/Refloom"
    COMMAND ${CMAKE_COMMAND} -E chdir "${stage}" ${CMAKE_COMMAND} -E tar cf "${archive}" --format=zip Refloom
    DEPENDS ${addin_files}
    COMMENT "Zipping the Word add-ins into Refloom.zip")
  add_custom_target(rf_addin_archive ALL DEPENDS "${archive}")
  add_dependencies(rf_components_payload rf_addin_archive)
endfunction()
