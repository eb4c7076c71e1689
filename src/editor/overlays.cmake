# Floating text and image overlays, the editor window and its controller.
target_sources(vistrel_logic PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/EditorChoices.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EditorIconShapes.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EditorKeyEquivalents.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EditorWindowGeometry.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ImageOverlayGeometry.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PastedImage.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TextOverlayGeometry.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TextOverlayRendering.cpp
)

target_sources(vistrel_ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/CanvasOverlays.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ColorWell.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EditableImageOverlayView.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EditableTextOverlayView.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EditorButtons.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EditorFileChooser.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EditorIcons.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EditorSidePanel.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EditorStatusBar.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EditorToolBar.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ImageEditorController.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ImageEditorWindow.cpp
  ${CMAKE_CURRENT_LIST_DIR}/OverlayPointerView.cpp
)
