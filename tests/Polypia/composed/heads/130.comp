#version 130
