#version 330 compatibility
